#ifndef TAVCORE_MUTEXED_HPP
#define TAVCORE_MUTEXED_HPP

#include <nkr/export.h>

#include <mutex>

namespace nkr::tools {

/** A value with its own mutex: lock the object itself for the span of one read or one write of `value`. */
template <class T>
class NKR_EXPORT Mutexed : public std::mutex {
 public:
  Mutexed() = default;
  virtual ~Mutexed() = default;

  T value{};
};

}  // namespace nkr::tools

#endif
