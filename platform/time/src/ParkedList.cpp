#include "ParkedList.hpp"

#include "World.hpp"

namespace nkr::time {

Parked* ParkedList::at(std::size_t place) const {
  Parked* parked = first_;
  for (; place > 0; --place) parked = parked->later;
  return parked;
}

void ParkedList::insert_by_due(Parked& parked) {
  Parked* place = last_;
  while (place != nullptr && place->due > parked.due) place = place->earlier;
  insert_behind(place, parked);
}

void ParkedList::insert_behind(Parked* place, Parked& parked) {
  parked.list = this;
  parked.earlier = place;
  parked.later = place == nullptr ? first_ : place->later;
  (parked.earlier == nullptr ? first_ : parked.earlier->later) = &parked;
  (parked.later == nullptr ? last_ : parked.later->earlier) = &parked;
  ++size_;
}

void ParkedList::remove(Parked& parked) {
  (parked.earlier == nullptr ? first_ : parked.earlier->later) = parked.later;
  (parked.later == nullptr ? last_ : parked.later->earlier) = parked.earlier;
  parked.list = nullptr;
  parked.earlier = nullptr;
  parked.later = nullptr;
  --size_;
}

}  // namespace nkr::time
