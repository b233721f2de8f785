#ifndef TAVCORE_TESTING_RECORDINGCLIENT_HPP
#define TAVCORE_TESTING_RECORDINGCLIENT_HPP

#include <nkr/error.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <nkr/canopencore/IService.hpp>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace tav::doubles {

/** A value with the C++ type it was accessed with. Its default, std::monostate, is no value. */
using Value = std::variant<std::monostate, std::string, std::int64_t, std::int32_t, std::int16_t, std::int8_t,
                           std::uint64_t, std::uint32_t, std::uint16_t, std::uint8_t, float, double, bool>;

enum class AccessKind { READ, WRITE, SYNC, NMT_READ, NMT_WRITE };

/** One access that reached the client. */
struct Access {
  AccessKind kind = AccessKind::READ;
  std::uint8_t node = 0;
  std::uint32_t address = 0;  ///< 0 for SYNC and NMT
  /** Written, or answered to a read; of a failed read the type's zero. NMT: the command or state number.
   * SYNC: none. */
  Value value;
};
[[nodiscard]] bool operator==(const Access& a, const Access& b);
[[nodiscard]] inline bool operator!=(const Access& a, const Access& b) {
  return !(a == b);
}

/** "read", "write", "sync", "NMT read", "NMT write". */
[[nodiscard]] std::string text_of(AccessKind kind);
/** Type and content of a value: "uint16 31". */
[[nodiscard]] std::string text_of(const Value& value);
/** "write node 5 0x60420010 int16 300". */
[[nodiscard]] std::string text_of(const Access& access);
/** How GoogleTest shows an access. */
void PrintTo(const Access& access, std::ostream* out);

/**
 * A CANopen client that answers as told and records every access, in order, with node, address, type and
 * value. Unscripted reads answer zero of the type asked for; every access succeeds unless told otherwise. For
 * one thread at a time.
 *
 * Accesses are counted from 1 over all kinds, from the last clear().
 */
class RecordingClient : public nkr::canopencore::IService {
 public:
  using NMTState = nkr::canopencore::NMTState;
  using NMTCommand = nkr::canopencore::NMTCommand;
  using TavIn = nkr::canopenservice::TavIn;
  using TavOut = nkr::canopenservice::TavOut;

  // What happened.
  std::vector<Access> accesses;
  std::vector<TavIn> sync_requests;

  // What to answer.
  bool initialized = true;
  NMTState nmt_state = NMTState::UNKNOWN;
  TavOut sync_answer{};
  /** What a failing read leaves in the caller's variable: nothing at first; else zero of its type. */
  bool failing_reads_store_zero = false;

  /** Answer of reads at this address, of exactly the type that is asked for; the last of several stays. */
  void answer(std::uint32_t address, const Value& value) { answers_[address] = {value}; }
  void answer(std::uint32_t address, const std::vector<Value>& values) { answers_[address] = values; }

  /** The n-th access (and it alone) answers `code`; several such orders add up. */
  void fail_access(std::size_t nth, nkr_error_t code) { failing_accesses_[nth] = code; }
  /** The n-th access and all after it answer `code`. */
  void fail_from(std::size_t nth, nkr_error_t code);
  /** Every access to this address answers `code`, the first `times` of them or all. */
  void fail_address(std::uint32_t address, nkr_error_t code, std::size_t times = SIZE_MAX);
  /** No more failures; answers and records stay. */
  void heal();
  /** Forgets accesses and failures; answers stay. */
  void clear();

  /** The writes among the accesses. */
  [[nodiscard]] std::vector<Access> writes() const;

  // nkr::canopencore::IService
  bool isInitialized() const override { return initialized; }
  nkr_error_t sync(const TavIn& request, TavOut& out) override;
  nkr_error_t getNMTState(const std::uint8_t& nodeId, NMTState& state) override;
  nkr_error_t setNMTState(const std::uint8_t& nodeId, const NMTCommand& command) override;

#define TAV_RECORD_ACCESS(T)                                                                                \
  nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address, T& value) override {       \
    return read(nodeId, address, value);                                                                    \
  }                                                                                                         \
  nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address, const T& value) override { \
    return record({AccessKind::WRITE, nodeId, address, value});                                             \
  }
  TAV_RECORD_ACCESS(std::string)
  TAV_RECORD_ACCESS(std::int64_t)
  TAV_RECORD_ACCESS(std::int32_t)
  TAV_RECORD_ACCESS(std::int16_t)
  TAV_RECORD_ACCESS(std::int8_t)
  TAV_RECORD_ACCESS(std::uint64_t)
  TAV_RECORD_ACCESS(std::uint32_t)
  TAV_RECORD_ACCESS(std::uint16_t)
  TAV_RECORD_ACCESS(std::uint8_t)
  TAV_RECORD_ACCESS(float)
  TAV_RECORD_ACCESS(double)
  TAV_RECORD_ACCESS(bool)
#undef TAV_RECORD_ACCESS

 private:
  struct AddressFailure {
    nkr_error_t code;
    std::size_t times;
  };

  template <class T>
  nkr_error_t read(std::uint8_t node, std::uint32_t address, T& value) {
    const nkr_error_t result = record({AccessKind::READ, node, address, T{}});
    if (result == NKR_OK) {
      value = std::get<T>(next_answer(address, T{}));
      accesses.back().value = value;
    } else if (failing_reads_store_zero) {
      value = T{};
    }
    return result;
  }
  /** The scripted answer, or `none`; an answer of another type than the one asked for is complained of. */
  Value next_answer(std::uint32_t address, const Value& none);
  nkr_error_t record(Access access);
  nkr_error_t scripted_result(std::uint32_t address);

  std::map<std::uint32_t, std::vector<Value>> answers_;
  std::map<std::size_t, nkr_error_t> failing_accesses_;
  std::map<std::uint32_t, AddressFailure> failing_addresses_;
  std::size_t failing_from_ = SIZE_MAX;
  nkr_error_t failing_from_code_ = NKR_OK;
};

}  // namespace tav::doubles

#endif
