#ifndef TESTS_SUPPORT_SCRIPTEDNODE_HPP
#define TESTS_SUPPORT_SCRIPTEDNODE_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/time/Condition.hpp>
#include <string>
#include <vector>

namespace tests {

/** "4B 41 60 00 37 02" as the data of a frame with that identifier. */
nkr::can::Frame frame_of(std::uint32_t id, const std::string& hex);
/** The data of a frame: "4B 41 60 00 37 02". */
std::string hex_of(const nkr::can::Frame& frame);

/**
 * A node on an in-process bus whose answers are written down byte by byte: it knows no protocol, so what a
 * client does is compared with bytes, not with another implementation of the same rules.
 */
class ScriptedNode {
 public:
  using Replies = std::vector<std::string>;

  ScriptedNode(nkr::can::InProcessBus& bus, std::uint8_t id);

  /** The answers to a request, in the sender's thread; set twice or more: one set after the other. The last
   * set stays. A request that is not written down gets no answer. */
  void on(const std::string& request, const Replies& replies);

  /** The answers to a request from now on, whatever was set before. */
  void change(const std::string& request, const Replies& replies);

  /** Sends an SDO reply on its own. */
  void reply(const std::string& data);
  /** Sends any frame. */
  void send(std::uint32_t id, const std::string& data);

  /** All SDO requests so far. */
  std::vector<std::string> requests() const;
  /** Waits until that many requests came; false after ten seconds. */
  bool wait_for_requests(std::size_t count) const;

 private:
  void received(const nkr::can::Frame& frame);

  const std::uint8_t id_;
  mutable std::mutex mutex_;
  mutable nkr::time::Condition changed_;
  std::map<std::string, std::vector<Replies>> script_;
  std::vector<std::string> requests_;
  std::unique_ptr<nkr::can::Port> sender_;
  std::unique_ptr<nkr::can::Port> port_;
};

}  // namespace tests

#endif
