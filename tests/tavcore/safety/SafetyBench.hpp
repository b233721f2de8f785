#ifndef TESTS_TAVCORE_SAFETY_SAFETYBENCH_HPP
#define TESTS_TAVCORE_SAFETY_SAFETYBENCH_HPP

#include <cstdint>
#include <string>
#include <tavcore/SignatureCalculator.hpp>
#include <vector>

#include "support/DispatcherBench.hpp"

namespace tavtest {

/** A description with every object that the safety operations name, written out for the tests. */
[[nodiscard]] EdsFixture safety_description();

/** Packed address of an object accessed by number: its length byte is 0. */
constexpr std::uint32_t at(std::uint32_t index, std::uint32_t subindex) {
  return index << 16 | subindex << 8;
}

/** An initialised dispatcher on a recording client that answers zero to every read. */
class SafetyBench : public DispatcherBench {
 public:
  SafetyBench() : DispatcherBench(safety_description()) { loaded(); }

  [[nodiscard]] std::uint32_t address(const std::string& name) const { return description_.address(name); }
  void hold(const std::string& name, const Value& value) { client->answer(address(name), value); }
  void hold_at(std::uint32_t index, std::uint32_t subindex, const Value& value) {
    client->answer(at(index, subindex), value);
  }
  /** Answers every read as a drive with this configuration does; signatures stay as they are. */
  void hold(const nkr::tavcore::SafetyConfiguration& configuration);
  void hold(const nkr::tavcore::SafetySignatures& signatures);
  void hold(const nkr::tavcore::SRDOConfiguration& srdo);

  [[nodiscard]] Access read_of(const std::string& name, const Value& value) const {
    return {AccessKind::READ, kNode, address(name), value};
  }
  [[nodiscard]] Access write_of(const std::string& name, const Value& value) const {
    return {AccessKind::WRITE, kNode, address(name), value};
  }
  [[nodiscard]] static Access read_at(std::uint32_t index, std::uint32_t subindex, const Value& value) {
    return {AccessKind::READ, kNode, at(index, subindex), value};
  }
  [[nodiscard]] static Access write_at(std::uint32_t index, std::uint32_t subindex, const Value& value) {
    return {AccessKind::WRITE, kNode, at(index, subindex), value};
  }

 private:
  EdsFixture description_ = safety_description();
};

using Accesses = std::vector<Access>;

/** The 128 reads of the mapping, in order, all answered with `code`. */
[[nodiscard]] Accesses mapping_reads(std::uint32_t code = 0);

}  // namespace tavtest

#endif
