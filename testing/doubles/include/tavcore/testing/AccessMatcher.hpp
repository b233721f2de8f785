#ifndef TAVCORE_TESTING_ACCESSMATCHER_HPP
#define TAVCORE_TESTING_ACCESSMATCHER_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tavcore/testing/RecordingClient.hpp>
#include <vector>

namespace tav::doubles {

/**
 * What an access is to be like; what is not asked for may be anything. The length in an address (its low
 * byte) is not compared.
 *
 *   written(0x60400000).with(std::uint16_t{6})
 */
class AccessMatcher {
 public:
  AccessMatcher(AccessKind kind, std::optional<std::uint32_t> address);

  /** With exactly this value, its type too. */
  [[nodiscard]] AccessMatcher with(const Value& value) const;
  [[nodiscard]] AccessMatcher at_node(std::uint8_t node) const;

  /** Whether an access is like that. */
  [[nodiscard]] bool operator()(const Access& access) const;
  /** "write 0x60400000 uint16 6". */
  [[nodiscard]] std::string text() const;

 private:
  AccessKind kind_;
  std::optional<std::uint32_t> address_;
  std::optional<Value> value_;
  std::optional<std::uint8_t> node_;
};

/** A write, and a read, of the object at that address. */
[[nodiscard]] AccessMatcher written(std::uint32_t address);
[[nodiscard]] AccessMatcher read_from(std::uint32_t address);
/** An NMT command to a node. */
[[nodiscard]] AccessMatcher commanded(nkr::canopencore::NMTCommand command);

/** How many of the accesses are like that. */
[[nodiscard]] std::size_t count(const std::vector<Access>& accesses, const AccessMatcher& matcher);

/**
 * Whether accesses like these were made in this order, others among them allowed: empty when they were, else
 * what is missing and all that was made, for people.
 *
 *   EXPECT_EQ(missing_in(client->accesses, {written(0x60400000), written(0x60420000)}), "");
 */
[[nodiscard]] std::string missing_in(const std::vector<Access>& accesses,
                                     const std::vector<AccessMatcher>& expected);

}  // namespace tav::doubles

#endif
