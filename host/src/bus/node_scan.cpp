#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <nkr/canopen/Client.hpp>
#include <nkr/canopen/SdoTimeoutScope.hpp>
#include <nkr/time/Thread.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/node_scan.hpp>

namespace tav::host {

using nkr::canopen::Client;
using nkr::canopencore::NMTState;

namespace {

/** Requests under way at once: enough to wait out the silent ids quickly, too few to load a slow bus. */
constexpr int kAtOnce = 8;
/** A node that was heard may be slower than what is granted to every id. */
constexpr std::chrono::milliseconds kPatience{1000};

constexpr std::uint32_t kDeviceType = 0x10000000;
constexpr std::uint32_t kIdentity = 0x10180000;
constexpr std::uint32_t kDeviceName = 0x10080000;
constexpr std::uint32_t kStatusWord = 0x60410000;
constexpr std::uint32_t kProfileMask = 0xFFFF;
constexpr std::uint32_t kDriveProfile = 402;

template <class T>
std::optional<T> read(Client& client, std::uint8_t node, std::uint32_t address) {
  T value{};
  return client.getValue(node, address, value) == NKR_OK ? std::optional<T>(value) : std::nullopt;
}

bool is_heard(Client& client, std::uint8_t node) {
  std::uint32_t age = 0;
  return client.getTimeSinceHeard(node, age) == NKR_OK;
}

void read_identity(Client& client, FoundNode& found) {
  const auto entry = [&](std::uint32_t subindex) {
    return read<std::uint32_t>(client, found.node, kIdentity | subindex << 8);
  };
  found.vendor_id = entry(1);
  found.product_code = entry(2);
  found.revision_number = entry(3);
  found.serial_number = entry(4);
  found.device_name = read<std::string>(client, found.node, kDeviceName).value_or("");
  if (found.device_type && (*found.device_type & kProfileMask) == kDriveProfile) {
    found.status_word = read<std::uint16_t>(client, found.node, kStatusWord);
  }
}

/** The scan of one range, shared by its threads. */
class Scan {
 public:
  Scan(Client& client, const ScanRange& range) : client_(client), range_(range), next_(range.first) {}

  nkr_error_t run(std::vector<FoundNode>& found) {
    std::array<nkr::time::Thread, kAtOnce> threads;
    const auto start = [this](nkr::time::Thread& thread) {
      return thread.start([this] { look_on(); }, "tav-node-scan");
    };
    if (std::count_if(threads.begin(), threads.end(), start) == 0) return NKR_CAN_NO_RESOURCES;
    for (nkr::time::Thread& thread : threads) thread.end();
    std::sort(found_.begin(), found_.end(),
              [](const FoundNode& a, const FoundNode& b) { return a.node < b.node; });
    found = std::move(found_);
    return bus_result_;
  }

 private:
  void look_on() {
    for (int node = next_++; node <= range_.last && !bus_failed_; node = next_++) {
      look_at(static_cast<std::uint8_t>(node));
    }
  }

  void look_at(std::uint8_t node) {
    const bool heard = is_heard(client_, node);
    FoundNode found;
    found.node = node;
    static_cast<void>(client_.getNMTState(node, found.nmt));
    if (heard && found.nmt == NMTState::STOPPED) return add(found);  // it serves no SDO
    const nkr::canopen::SdoTimeoutScope scope(heard ? std::max(range_.timeout, kPatience) : range_.timeout);
    std::uint32_t device_type = 0;
    const nkr_error_t result = client_.getValue(node, kDeviceType, device_type);
    if (is_of_bus(result)) return fail(result);
    if (result == NKR_OK) found.device_type = device_type;
    found.answers = result != NKR_SDO_TIMED_OUT;
    if (found.answers) read_identity(client_, found);
    if (found.answers || heard) add(found);
  }

  static bool is_of_bus(nkr_error_t result) {
    return result != NKR_OK && result != NKR_CAN_TIMED_OUT && result < NKR_SDO_TOGGLE_BIT;
  }

  void fail(nkr_error_t result) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bus_result_ = result;
    bus_failed_ = true;
  }
  void add(FoundNode found) {
    const std::lock_guard<std::mutex> lock(mutex_);
    found_.push_back(std::move(found));
  }

  Client& client_;
  const ScanRange range_;
  std::atomic<int> next_;
  std::atomic<bool> bus_failed_{false};
  std::mutex mutex_;
  nkr_error_t bus_result_ = NKR_OK;
  std::vector<FoundNode> found_;
};

}  // namespace

nkr_error_t scan_nodes(Client& client, const ScanRange& range, std::vector<FoundNode>& found) {
  nkr::time::sleep_for(range.listen);
  return Scan(client, range).run(found);
}

}  // namespace tav::host
