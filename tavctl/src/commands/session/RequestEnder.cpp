#include "commands/session/RequestEnder.hpp"

#include <chrono>
#include <csignal>
#include <nkr/canopen/Client.hpp>
#include <utility>

namespace tavctl {

RequestEnder::RequestEnder(std::shared_ptr<nkr::canopen::Client> client)
    : client_(std::move(client)), interrupt_({SIGINT, SIGTERM, SIGHUP}), thread_([this] { run(); }) {}

RequestEnder::~RequestEnder() {
  done_ = true;
  interrupt_.request();
  thread_.join();
}

void RequestEnder::run() {
  constexpr std::chrono::hours kWhile{1};
  constexpr std::chrono::milliseconds kUntilNext{2};
  while (interrupt_.wait_for(kWhile)) {
  }
  while (!done_) {
    ended_ = true;
    client_->cancelRequests();
    std::this_thread::sleep_for(kUntilNext);
  }
}

}  // namespace tavctl
