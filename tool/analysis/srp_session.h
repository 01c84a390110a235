// One instance of the SRP companion library, set up from the same settings as the specified one.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "analysis/ssl_session.h"
#include "ezossl_srp.h"

namespace ezossl_tool {

struct SrpPeriod {
    uint32_t status = EZOSSL_SRP_RET_OK;
    std::optional<double> degrees;  // only with EZOSSL_SRP_RET_OK
    double confidence = 0.0;        // 0 ... 1
    double level_dbfs = 0.0;
};

// The array as the specified library places it (centred, in cm), the rate, temperature,
// threshold and period length; the library's default band. A refusal becomes a
// LibraryRefusal naming the function and the status.
class SrpSession {
  public:
    explicit SrpSession(const LibrarySettings& settings);

    void Process(const Block& block);
    // GetDirection: closes the period and opens the next.
    SrpPeriod CloseVotingPeriod();

  private:
    std::unique_ptr<uint64_t[]> buffer_;
    EzoSslSrp* handle_ = nullptr;
};

// "OK", "SILENT", "NO_BLOCKS", "INVALID_POSITIONS", ... (the constant without EZOSSL_SRP_RET_).
std::string SrpStatusName(uint32_t status);

}  // namespace ezossl_tool
