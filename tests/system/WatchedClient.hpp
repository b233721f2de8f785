#ifndef TESTS_SYSTEM_WATCHEDCLIENT_HPP
#define TESTS_SYSTEM_WATCHEDCLIENT_HPP

#include <nkr/canopen/Client.hpp>
#include <support/Doubles.hpp>
#include <vector>

namespace tavtest {

/**
 * The real client, with every access that a caller makes kept as RecordingClient keeps it.
 *
 * An object of the communication profile (0x1000 to 0x1FFF) is asked for 0x2000 higher, where the drive gives
 * it no meaning: what is looked at here is the way of a value, whatever it is for.
 */
class WatchedClient : public nkr::canopencore::IService {
 public:
  static constexpr std::uint32_t moved(std::uint32_t address) {
    return address >> 28 == 1 ? address + 0x20000000U : address;
  }

  explicit WatchedClient(nkr::canopen::Client& client) : client_(client) {}

  std::vector<Access> accesses;

  bool isInitialized() const override { return client_.isInitialized(); }
  nkr_error_t sync(const nkr::canopenservice::TavIn& request, nkr::canopenservice::TavOut& out) override {
    accesses.push_back({AccessKind::SYNC, request.nodeId, 0, {}});
    return client_.sync(request, out);
  }
  nkr_error_t getNMTState(const std::uint8_t& nodeId, nkr::canopencore::NMTState& state) override {
    const nkr_error_t result = client_.getNMTState(nodeId, state);
    accesses.push_back({AccessKind::NMT_READ, nodeId, 0, static_cast<std::uint32_t>(state)});
    return result;
  }
  nkr_error_t setNMTState(const std::uint8_t& nodeId, const nkr::canopencore::NMTCommand& command) override {
    accesses.push_back({AccessKind::NMT_WRITE, nodeId, 0, static_cast<std::uint32_t>(command)});
    return client_.setNMTState(nodeId, command);
  }

#define TAV_WATCH_ACCESS(T)                                                                                 \
  nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address, T& value) override {       \
    return read(nodeId, address, value);                                                                    \
  }                                                                                                         \
  nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address, const T& value) override { \
    accesses.push_back({AccessKind::WRITE, nodeId, address, value});                                        \
    return client_.setValue(nodeId, moved(address), value);                                                 \
  }
  TAV_WATCH_ACCESS(std::string)
  TAV_WATCH_ACCESS(std::int64_t)
  TAV_WATCH_ACCESS(std::int32_t)
  TAV_WATCH_ACCESS(std::int16_t)
  TAV_WATCH_ACCESS(std::int8_t)
  TAV_WATCH_ACCESS(std::uint64_t)
  TAV_WATCH_ACCESS(std::uint32_t)
  TAV_WATCH_ACCESS(std::uint16_t)
  TAV_WATCH_ACCESS(std::uint8_t)
  TAV_WATCH_ACCESS(float)
  TAV_WATCH_ACCESS(double)
  TAV_WATCH_ACCESS(bool)
#undef TAV_WATCH_ACCESS

 private:
  template <class T>
  nkr_error_t read(std::uint8_t node, std::uint32_t address, T& value) {
    const nkr_error_t result = client_.getValue(node, moved(address), value);
    accesses.push_back({AccessKind::READ, node, address, result == NKR_OK ? value : T{}});
    return result;
  }

  nkr::canopen::Client& client_;
};

}  // namespace tavtest

#endif
