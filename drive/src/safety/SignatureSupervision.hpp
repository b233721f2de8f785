#ifndef TAV_DRIVE_SRC_SAFETY_SIGNATURESUPERVISION_HPP
#define TAV_DRIVE_SRC_SAFETY_SIGNATURESUPERVISION_HPP

#include <cstdint>
#include <functional>
#include <vector>

#include "network/Errors.hpp"
#include "node/Part.hpp"

namespace tav::drive {

/**
 * Compares the signature of each safety function (STO 0x6645, SBC 0x6662, SLS 0x6699, SDI 0x66D6) with the
 * drive's own computation over its parameters, its units and the mapping of the safety words.
 *
 * While one differs there is an error 0x6320; its vendor bytes tell the function by the index of its
 * signature object, low byte first, and then the instance, its sub-index. It ends when all agree.
 */
class SignatureSupervision : public Part {
 public:
  /** @param changed  told when signatures() or agree() may have changed */
  SignatureSupervision(Context& context, Errors& errors, std::function<void()> changed);

  [[nodiscard]] bool agree() const;

  void reset(Reset kind) override;

 private:
  /** What a signature covers, in this order. */
  struct Input {
    const Object* object;  ///< null: zeros
    std::size_t bytes;
  };
  struct Instance {
    Object* signature;
    std::vector<Input> inputs;
    bool differs = false;
  };
  /** A parameter of a function: the same for all instances (sub-index 0), or one of each. */
  struct Parameter {
    std::uint16_t index;  ///< 0: zeros
    std::size_t bytes;
    bool of_instance;
  };

  void add_function(std::uint16_t signature_index, const std::vector<Parameter>& parameters);
  void watch_inputs();
  void watch(Object* object, std::function<void()> action);
  void check(Instance& instance);
  void check_all();
  [[nodiscard]] std::uint16_t compute(const Instance& instance) const;

  Context& context_;
  Errors& errors_;
  std::function<void()> changed_;
  std::vector<Instance> instances_;
  std::vector<Object*> mapping_;  ///< 0x66F0 to 0x66FF, sub-indices 1 to 8; null where there is none
};

}  // namespace tav::drive

#endif
