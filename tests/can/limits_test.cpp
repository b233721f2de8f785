// A system that has no descriptor, thread or memory left: every one that a bus asks for is refused once.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <functional>
#include <new>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/Thread.hpp>
#include <nkr/can/open_bus.hpp>
#include <nkr/can/trace.hpp>
#include <set>
#include <thread>

#include "can/unix/UnixBusFixture.hpp"

namespace {

/** Refuses the n-th request; negative: none. */
std::atomic<int> requests_until_refusal{-1};

bool refuses() {
  if (requests_until_refusal.load() < 0) return false;
  return requests_until_refusal.fetch_sub(1) == 0;
}

/** The same for memory, on this thread alone: the test framework's and other threads' is not ours to refuse.
 */
thread_local int allocations_until_refusal = -1;

int refused(int error) {
  errno = error;
  return -1;
}

}  // namespace

void* operator new(std::size_t size) {
  if (allocations_until_refusal >= 0 && allocations_until_refusal-- == 0) throw std::bad_alloc();
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

// The linker has the libraries call these.
extern "C" {
int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol) {
  return refuses() ? refused(EMFILE) : __real_socket(domain, type, protocol);
}
int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = va_arg(arguments, mode_t);
  va_end(arguments);
  return refuses() ? refused(EMFILE) : __real_open(path, flags, mode);
}
int __real_eventfd(unsigned count, int flags);
int __wrap_eventfd(unsigned count, int flags) {
  return refuses() ? refused(EMFILE) : __real_eventfd(count, flags);
}
int __real_epoll_create1(int flags);
int __wrap_epoll_create1(int flags) {
  return refuses() ? refused(EMFILE) : __real_epoll_create1(flags);
}
int __real_epoll_ctl(int epoll, int operation, int descriptor, epoll_event* event);
int __wrap_epoll_ctl(int epoll, int operation, int descriptor, epoll_event* event) {
  const bool takes_room = operation == EPOLL_CTL_ADD;
  return takes_room && refuses() ? refused(ENOSPC) : __real_epoll_ctl(epoll, operation, descriptor, event);
}
int __real_accept4(int socket, sockaddr* address, socklen_t* size, int flags);
int __wrap_accept4(int socket, sockaddr* address, socklen_t* size, int flags) {
  return refuses() ? refused(EMFILE) : __real_accept4(socket, address, size, flags);
}
}

namespace nkr::can::test {
namespace {

using namespace std::chrono_literals;

std::size_t entries_of(const char* folder) {
  DIR* const entries = ::opendir(folder);
  std::size_t count = 0;
  while (::readdir(entries) != nullptr) ++count;
  ::closedir(entries);
  return count;
}

std::size_t descriptors() {
  return entries_of("/proc/self/fd");
}

/** The threads that stay: one that was joined is still counted for a moment. */
std::size_t lasting_threads() {
  std::size_t least = entries_of("/proc/self/task");
  for (int looks = 0; looks < 100; ++looks) {
    std::this_thread::sleep_for(1ms);
    least = std::min(least, entries_of("/proc/self/task"));
  }
  return least;
}

/** As soon as those that end have ended. */
void expect_threads(std::size_t expected) {
  const auto deadline = soon();
  while (entries_of("/proc/self/task") != expected && Clock::now() < deadline)
    std::this_thread::sleep_for(1ms);
  EXPECT_EQ(entries_of("/proc/self/task"), expected);
}

bool is_result(nkr_error_t code) {
  static const std::set<nkr_error_t> kResults{
      NKR_OK,         NKR_CAN_NO_RESOURCES, NKR_CAN_NO_INTERFACE, NKR_CAN_INTERFACE_GONE,
      NKR_CAN_CLOSED, NKR_CAN_TIMED_OUT,    NKR_CAN_TX_OVERFLOW};
  return kResults.count(code) != 0;
}

constexpr std::size_t kListenersOwn = 3;

/** As soon as the listener has noticed who has left. */
void expect_descriptors(std::size_t expected) {
  for (const auto deadline = soon(); descriptors() != expected && Clock::now() < deadline;)
    std::this_thread::sleep_for(1ms);
  EXPECT_EQ(descriptors(), expected);
}

class LimitsTest : public UnixBusFixture {
 protected:
  void TearDown() override {
    requests_until_refusal = -1;
    Thread::allow(-1);
    UnixBusFixture::TearDown();
  }

  /** Everything that asks the system for something: opens, joins, starts, waits. On a thread of its own,
   * which waits for the first time. Whether all of it succeeded. */
  static bool lives_on(const std::function<std::shared_ptr<Bus>()>& make) {
    bool complete = false;
    std::thread living([&] {
      const std::shared_ptr<Bus> bus = make();
      complete = bus && talks(*bus);
    });
    living.join();
    return complete;
  }

  static bool talks(Bus& bus) {
    nkr_error_t result = NKR_ERROR;
    const auto server = bus.open({{0x601}}, result);
    EXPECT_TRUE(server != nullptr ? result == NKR_OK : result != NKR_OK && is_result(result)) << result;
    const auto client = bus.open({{0x581}, {0x582}}, result);
    EXPECT_TRUE(client != nullptr ? result == NKR_OK : result != NKR_OK && is_result(result)) << result;
    std::atomic<int> handled{0};
    const auto handler = bus.open_handler(
        {{0x600, 0x780}}, [&](const Frame&) { ++handled; }, result);
    EXPECT_TRUE(handler != nullptr ? result == NKR_OK : result != NKR_OK && is_result(result)) << result;
    if (!server || !client || !handler) return false;
    Frame frame;
    EXPECT_TRUE(is_result(client->receive(frame, 10ms)));
    nkr_error_t sent = client->send({0x601, {}}, 1s);
    const nkr_error_t received = server->receive(frame, 1s);
    EXPECT_TRUE(is_result(sent) && is_result(received)) << sent << ' ' << received;
    EXPECT_TRUE(is_result(client->drain([](const Frame&) {}, 1s)));
    return sent == NKR_OK && received == NKR_OK;
  }

  std::shared_ptr<Bus> quiet_open() const {
    nkr_error_t result = NKR_OK;
    std::string explanation;
    auto bus = nkr::can::open_bus(name, result, explanation);
    EXPECT_TRUE(bus != nullptr ? result == NKR_OK : is_result(result) && !explanation.empty()) << result;
    return bus;
  }
};

TEST_F(LimitsTest, EveryDescriptorIsRefusedOnce) {
  ASSERT_TRUE(lives_on([this] { return quiet_open(); }));
  const std::size_t before = descriptors();
  const std::size_t threads = lasting_threads();
  bool refused_one = true;
  int refusals = 0;
  for (int n = 0; refused_one; ++n) {
    requests_until_refusal = n;
    const bool complete = lives_on([this] { return quiet_open(); });
    refused_one = requests_until_refusal.exchange(-1) < 0;
    refusals += refused_one ? 1 : 0;
    EXPECT_TRUE(refused_one || complete);
    EXPECT_EQ(descriptors(), before) << "after the refusal of the one with number " << n;
    expect_threads(threads);
    EXPECT_TRUE(lives_on([this] { return quiet_open(); })) << "and then all is well again";
  }
  EXPECT_GT(refusals, 10);
}

TEST_F(LimitsTest, EveryThreadIsRefusedOnce) {
  const std::size_t before = descriptors();
  const std::size_t threads = lasting_threads();
  bool complete = false;
  int needed = 0;
  for (; !complete && needed < 10; ++needed) {
    Thread::allow(needed);
    complete = lives_on([this] { return quiet_open(); });
    Thread::allow(-1);
    EXPECT_EQ(descriptors(), before);
    expect_threads(threads);
  }
  EXPECT_EQ(needed, 3) << "the listener's and the handler's";
}

/** Opens with the n-th allocation refused until one call has needed no more. */
template <class Open>
void refuse_every_allocation(const Open& open) {
  bool refused_one = true;
  for (int n = 0; refused_one && n < 1000; ++n) {
    nkr_error_t result = NKR_ERROR;
    allocations_until_refusal = n;
    const auto port = open(result);
    refused_one = allocations_until_refusal < 0;
    allocations_until_refusal = -1;
    EXPECT_EQ(port != nullptr, result == NKR_OK) << n;
    EXPECT_TRUE(port != nullptr || result == NKR_CAN_NO_RESOURCES) << n << ": " << result;
    EXPECT_TRUE(refused_one || port != nullptr);
  }
  EXPECT_FALSE(refused_one);
}

TEST_F(LimitsTest, EveryAllocationOfAPortIsRefusedOnce) {
  Frame frame;
  static_cast<void>(
      open_port(*open_bus())->receive(frame, 1ms));  // this thread's own descriptor, for waits at any port
  const std::size_t expected = descriptors() + kListenersOwn;
  const auto unix_bus = open_bus();
  InProcessBus in_process;
  TracingBus tracing(std::make_shared<InProcessBus>(), [](const TracedFrame&) {});
  const std::size_t threads = lasting_threads();
  const std::vector<Filter> filters{{0x581}, {0x582}};
  for (Bus* bus : {static_cast<Bus*>(&in_process), static_cast<Bus*>(&tracing), unix_bus.get()}) {
    refuse_every_allocation([&](nkr_error_t& result) { return bus->open(filters, result); });
    const FrameHandler handler = [](const Frame&) {};
    refuse_every_allocation(
        [&](nkr_error_t& result) { return bus->open_handler(filters, FrameHandler(handler), result); });
  }
  expect_threads(threads);
  expect_descriptors(expected);
}

TEST_F(LimitsTest, AListenerWithoutDescriptorsHearsAgainWhenThereAreSome) {
  const auto bus = open_bus();
  const auto member = open_port(*bus);
  const auto other = open_bus();
  requests_until_refusal = 1;  // the newcomer's socket is granted, the listener's end of it is not
  const auto newcomer = open_port(*other);
  EXPECT_LT(requests_until_refusal.load(), 0) << "nobody has left meanwhile";
  EXPECT_EQ(newcomer->send({1, {}}, soon()), NKR_OK);
  Frame frame;
  EXPECT_EQ(member->receive(frame, soon()), NKR_OK);
}

TEST_F(LimitsTest, APortTakesOneDescriptorAndOneOfItsListeners) {
  Frame frame;
  static_cast<void>(open_port(*open_bus())->receive(frame, 1ms));  // this thread's own
  const std::size_t before = descriptors();
  const auto bus = open_bus();
  std::vector<std::unique_ptr<Port>> ports;
  for (std::uint32_t node = 1; node <= 20; ++node) {
    ports.push_back(open_port(*bus, {{0x580 + node}}));
    static_cast<void>(ports.back()->receive(frame, 1ms));
  }
  expect_descriptors(before + kListenersOwn + 2 * ports.size());
}

}  // namespace
}  // namespace nkr::can::test
