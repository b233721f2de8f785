#ifndef TESTS_TAVCORE_SAFETY_REFERENCE_HPP
#define TESTS_TAVCORE_SAFETY_REFERENCE_HPP

#include <cstdint>
#include <string>
#include <tavcore/ISRDOService.hpp>
#include <tavcore/ISafeMotionService.hpp>
#include <vector>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace tavtest {

/**
 * The operations that write signatures, written out access by access, without the library's step engine,
 * tables and CRC: what the library is compared with under every pattern of failures.
 *
 * Makes its accesses on a recording client of its own, which is scripted as the library's client is.
 */
class Reference {
 public:
  using Safe = nkr::tavcore::ISafeMotionService;
  using Srdo = nkr::tavcore::ISRDOService;
  using Bytes = std::vector<std::uint8_t>;

  explicit Reference(RecordingClient& client) : client_(client), description_(safety_description()) {}

  /** The records that go with the accesses made so far. */
  [[nodiscard]] const std::vector<LogEntry>& records() const { return records_; }

  nkr_error_t set_sto(const Safe::STOParameters& parameters);
  nkr_error_t set_sls(int n, const Safe::SLSParameters& parameters);
  nkr_error_t set_sdi(int n, const Safe::SDIParameters& parameters);
  nkr_error_t set_sbc(int n, const Safe::SBCParameters& parameters);

  nkr_error_t update_sto(const Safe::STOParameters& parameters);
  nkr_error_t update_sls(int n, const Safe::SLSParameters& parameters);
  nkr_error_t update_sdi(int n, const Safe::SDIParameters& parameters);
  nkr_error_t update_sbc(int n, const Safe::SBCParameters& parameters);
  nkr_error_t update_all();

  /** Writes codes to mapping objects in turn, then refreshes. */
  nkr_error_t set_mapping(const std::vector<std::pair<std::string, std::uint32_t>>& codes);

  nkr_error_t set_srdo(int n, const Srdo::SRDOParameters& parameters);

 private:
  template <class T>
  nkr_error_t read(const std::string& name, T& value) {
    const std::uint32_t address = description_.address(name);
    const nkr_error_t result = client_.getValue(DispatcherBench::kNode, address, value);
    const std::string text = "getValue" + place(address) + " (" + name + ")";
    if (result == NKR_OK) {
      note(kTrace, "get_value", text);
    } else {
      note(kFailure, "get_value", text + " : failed !");
    }
    return result;
  }
  template <class T>
  nkr_error_t write(const std::string& name, const T& value) {
    const std::uint32_t address = description_.address(name);
    const nkr_error_t result = client_.setValue(DispatcherBench::kNode, address, value);
    const std::string text = "setValue" + place(address) + " (" + name + ") : ";
    if (result == NKR_OK) {
      note(kTrace, "log_set_success", text + std::to_string(value));
    } else {
      note(kFailure, "set_value", text + "failed !");
    }
    return result;
  }
  template <class T>
  nkr_error_t read_at(std::uint32_t index, int subindex, T& value) {
    const std::uint32_t address = at(index, static_cast<std::uint32_t>(subindex));
    const nkr_error_t result = client_.getValue(DispatcherBench::kNode, address, value);
    if (result != NKR_OK) note(kFailure, "get_value_by_address", "getValue" + place(address));
    return result;
  }
  template <class T>
  nkr_error_t write_at(std::uint32_t index, int subindex, const T& value) {
    const std::uint32_t address = at(index, static_cast<std::uint32_t>(subindex));
    const nkr_error_t result = client_.setValue(DispatcherBench::kNode, address, value);
    const std::string text = "setValue" + place(address) + " : ";
    if (result == NKR_OK) {
      note(kTrace, "log_set_success_address", text + std::to_string(value));
    } else {
      note(kFailure, "set_value_by_address", text + "failed !");
    }
    return result;
  }

  static constexpr std::uint32_t kFailure = 2;
  static constexpr std::uint32_t kTrace = 5;

  static std::string place(std::uint32_t address) {
    return " nodeId=" + std::to_string(DispatcherBench::kNode) + " address=" + std::to_string(address);
  }
  void note(std::uint32_t level, const std::string& function, const std::string& text) {
    records_.push_back({DispatcherBench::kContext, level, function, 0, "CANOpenDispatcher", text});
  }
  // What the writers read on their way.
  nkr_error_t get_sto(Safe::STOParameters& parameters, std::uint16_t& signature);
  nkr_error_t get_sls(int n, Safe::SLSParameters& parameters, std::uint16_t& signature);
  nkr_error_t get_sdi(int n, Safe::SDIParameters& parameters, std::uint16_t& signature);
  nkr_error_t get_sbc(int n, Safe::SBCParameters& parameters, std::uint16_t& signature);
  nkr_error_t get_srdo_mapping(int n, Srdo::SRDOMapping& mapping);
  /** Appends the mapping's bytes when all was read at once. */
  nkr_error_t read_mapping(Bytes& bytes);
  /** The instance's own bytes, the mapping's, and the signature to index:n. */
  nkr_error_t sign(Bytes bytes, std::uint32_t index, int n);

  RecordingClient& client_;
  EdsFixture description_;
  std::vector<LogEntry> records_;
};

}  // namespace tavtest

#endif
