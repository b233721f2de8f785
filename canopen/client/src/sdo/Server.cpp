#include "sdo/Server.hpp"

#include <nkr/time/clock.hpp>

namespace nkr::canopen::sdo {

bool Server::arrived(const can::Frame& frame) {
  last_heard_ = time::coarse_now();
  heard_.heard(node_, last_heard_);
  return !late_replies.empty() && late_replies.arrived(frame);
}

}  // namespace nkr::canopen::sdo
