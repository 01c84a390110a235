// Build-identification records, kept in the binary for anyone inspecting it.
#include "version_records.h"

#ifndef EZOSSL_PROJECT_VERSION
#define EZOSSL_PROJECT_VERSION "unknown"
#endif

namespace ezossl {

// "used" keeps the records in the binary although no code refers to them.
__attribute__((used)) const char kSslSettingsRecord[] =
    "SSLSET##APIVERSION14##PN128MSGLEVEL07##SETSSL\n";
__attribute__((used)) const char kVersionRecord[] =
    "EZOSSLVER##LIB2024.0315.0000##API14##" EZOSSL_PROJECT_VERSION "##VEREZOSSL\n";
__attribute__((used)) const char kVersionComRecord[] =
    "EZOSSLCOM##FFT:ezossl-rfft256##CFG:cJSON##COMPILER:" __VERSION__ "##COMEZOSSL\n";

}  // namespace ezossl
