#ifndef NKR_CAN_SYSTEM_DESCRIPTOR_HPP
#define NKR_CAN_SYSTEM_DESCRIPTOR_HPP

#include <unistd.h>

#include <utility>

namespace nkr::can {

/** Owns a file descriptor. */
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  [[nodiscard]] int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace nkr::can

#endif
