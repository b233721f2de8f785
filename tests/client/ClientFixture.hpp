#ifndef TESTS_CLIENT_CLIENTFIXTURE_HPP
#define TESTS_CLIENT_CLIENTFIXTURE_HPP

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/VirtualTime.hpp>

#include "support/ScriptedNode.hpp"

namespace tests::client {

using namespace std::chrono_literals;

/** A client and a scripted node with id 10 on one bus, in a virtual time: waits cost nothing, and no verdict
 * depends on how busy the machine is. */
class ClientTest : public testing::Test {
 protected:
  static constexpr std::uint8_t kNode = 10;

  static nkr::canopen::ClientOptions short_times() {
    nkr::canopen::ClientOptions options;
    options.sdo_timeout = 60ms;
    options.late_reply_grace = 120ms;
    return options;
  }

  nkr::time::VirtualTime virtual_time;  // of all that follows
  std::shared_ptr<nkr::can::InProcessBus> bus = std::make_shared<nkr::can::InProcessBus>();
  ScriptedNode node{*bus, kNode};
  nkr::canopen::Client client{bus, short_times()};
};

}  // namespace tests::client

#endif
