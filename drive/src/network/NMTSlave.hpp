#ifndef TAV_DRIVE_SRC_NETWORK_NMTSLAVE_HPP
#define TAV_DRIVE_SRC_NETWORK_NMTSLAVE_HPP

#include <cstdint>
#include <functional>

#include "node/Part.hpp"

namespace tav::drive {

/** NMT slave (CiA 301, 7.2.8): takes the master's commands. What they mean is done by whom it asks. */
class NMTSlave : public Part {
 public:
  struct Actions {
    std::function<void(NMTState)> enter;
    std::function<void(Reset)> reset;
  };
  NMTSlave(Context& context, Actions actions);

  void receive(const nkr::can::Frame& frame) override;

 private:
  Context& context_;
  Actions actions_;
};

}  // namespace tav::drive

#endif
