#ifndef NKR_CAN_SYSTEM_FORKSHIELD_HPP
#define NKR_CAN_SYSTEM_FORKSHIELD_HPP

#include "system/Descriptor.hpp"

namespace nkr::can {

/**
 * Owns a descriptor that forked children do not keep. A child that runs on when this process was killed would
 * else keep its connections open: nobody at the other ends would learn of the death. In the child the number
 * stands for something else that nobody talks to.
 */
class ShieldedDescriptor {
 public:
  ShieldedDescriptor() = default;
  explicit ShieldedDescriptor(Descriptor descriptor);
  ShieldedDescriptor(ShieldedDescriptor&& other) noexcept = default;
  ShieldedDescriptor& operator=(ShieldedDescriptor&& other) noexcept = default;
  ~ShieldedDescriptor();

  [[nodiscard]] int get() const { return descriptor_.get(); }
  explicit operator bool() const { return static_cast<bool>(descriptor_); }

 private:
  Descriptor descriptor_;
};

}  // namespace nkr::can

#endif
