#ifndef NKR_TIME_SRC_PARKEDLIST_HPP
#define NKR_TIME_SRC_PARKEDLIST_HPP

#include <cstddef>

namespace nkr::time {

struct Parked;

/** Threads that do not run, in an order; each is in one list at most. It owns nothing. */
class ParkedList {
 public:
  [[nodiscard]] bool is_empty() const { return first_ == nullptr; }
  [[nodiscard]] Parked* first() const { return first_; }
  /** The one at that place, which has to be below size(). */
  [[nodiscard]] Parked* at(std::size_t place) const;
  [[nodiscard]] std::size_t size() const { return size_; }

  void append(Parked& parked) { insert_behind(last_, parked); }
  /** Behind all that are due no later. */
  void insert_by_due(Parked& parked);
  void remove(Parked& parked);

 private:
  void insert_behind(Parked* place, Parked& parked);

  Parked* first_ = nullptr;
  Parked* last_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace nkr::time

#endif
