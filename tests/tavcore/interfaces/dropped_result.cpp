// Drops the results of three virtual calls, through each of the interfaces that programs hold: the compiler
// is to see each of them.
#define NKR_CHECK_RESULTS
#include <nkr/canopencore/IService.hpp>
#include <tavcore/Controller.hpp>

void drop(nkr::tavcore::IService& service, nkr::tavcore::Controller& controller,
          nkr::canopencore::IService& client) {
  service.quickStop();
  controller.setTargetVelocity(0);
  client.setNMTState(1, nkr::canopencore::NMTCommand::STOP_REMOTE_NODE);
}
