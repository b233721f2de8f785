#include "system/ForkShield.hpp"

#include <fcntl.h>
#include <pthread.h>

#include <exception>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace nkr::can {
namespace {

/** Never destroyed: children are forked, and descriptors closed, at any time. */
struct Shielded {
  std::mutex mutex;
  std::vector<bool> is_shielded;  // by descriptor
  Descriptor substitute;
};

Shielded& shielded() {
  static Shielded* const kept = std::make_unique<Shielded>().release();
  return *kept;
}

/** In the child, where nothing but system calls is safe. */
void leave_to_parent() {
  const Shielded& all = shielded();
  for (std::size_t i = 0; i < all.is_shielded.size(); ++i) {
    const int descriptor = static_cast<int>(i);
    if (all.is_shielded[i] && ::dup3(all.substitute.get(), descriptor, O_CLOEXEC) < 0) ::close(descriptor);
  }
}

void see_forks() {
  ::pthread_atfork([] { shielded().mutex.lock(); }, [] { shielded().mutex.unlock(); },
                   [] {
                     leave_to_parent();
                     shielded().mutex.unlock();
                   });
}

void shield(int descriptor, bool is_shielded) {
  Shielded& all = shielded();
  const std::lock_guard<std::mutex> lock(all.mutex);
  const auto index = static_cast<std::size_t>(descriptor);
  try {
    if (all.is_shielded.size() <= index) all.is_shielded.resize(index + 1);
    all.is_shielded[index] = is_shielded;
  } catch (const std::exception&) {
    // Without memory children keep it, as they keep any descriptor.
  }
}

}  // namespace

ShieldedDescriptor::ShieldedDescriptor(Descriptor descriptor) : descriptor_(std::move(descriptor)) {
  if (!descriptor_) return;
  static const bool prepared = [] {
    shielded().substitute = Descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC));
    see_forks();
    return true;
  }();
  static_cast<void>(prepared);
  shield(descriptor_.get(), true);
}

ShieldedDescriptor::~ShieldedDescriptor() {
  if (descriptor_) shield(descriptor_.get(), false);
}

}  // namespace nkr::can
