// One instance of the SRP companion library, set up from the same settings as the specified one.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "analysis/ssl_session.h"
#include "ezossl_srp.h"
#include "io/block_source.h"

namespace ezossl_tool {

struct SrpDirection {
    uint32_t status = EZOSSL_SRP_RET_OK;
    std::optional<double> degrees;  // only with EZOSSL_SRP_RET_OK
    double confidence = 0.0;
    double level_dbfs = 0.0;
};

// Init on construction (a refusal becomes a LibraryRefusal naming the status); the buffer is
// freed with the session.
class SrpSession {
  public:
    explicit SrpSession(const LibrarySettings& settings);
    void Process(const Block& block);
    // GetDirection: closes the period and opens the next.
    SrpDirection ClosePeriod();

  private:
    std::unique_ptr<uint64_t[]> buffer_;
    EzoSslSrp* handle_ = nullptr;
};

// "OK", "SILENT", "NO_BLOCKS", ... (the status constant without its EZOSSL_SRP_RET_ prefix).
std::string SrpStatusName(uint32_t status);

}  // namespace ezossl_tool
