// Reads a drive's safety configuration, computes its signatures anew and compares. Writes nothing.
#include <exception>
#include <iostream>
#include <memory>
#include <nkr/can/open_bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>
#include <tavcore/SafetyVerification.hpp>

#include "VirtualNode.hpp"

int main() try {
  const auto config = std::make_shared<nkr::tavcore::Config>();
  nkr::throw_if_failed(config->load("share/tav/tav.ini"), "load the configuration");
  const auto bus = nkr::can::make_bus("virtual");
  const VirtualNode drive(*bus, config->getCANOpenEDSFilePath(),
                          static_cast<std::uint8_t>(config->getNodeId()));
  nkr::tavcore::CANOpenDispatcher dispatcher(config, std::make_shared<nkr::canopen::Client>(bus));
  nkr::throw_if_failed(dispatcher.init(), "use the description");
  // The signatures in the drive are those of what it holds: an operation that NKR_OK alone does not prove.
  nkr::throw_if_failed(dispatcher.updateAllSafetySignatures(), "write the signatures");

  const nkr::tavcore::SafetyVerification verified = nkr::tavcore::verify_safety(dispatcher);
  nkr::throw_if_failed(verified.result, "read " + verified.failed_object);
  for (const nkr::tavcore::SafetySignatureCheck& check : verified.checks) {
    std::cout << check.name << ": " << (check.agrees() ? "agrees" : "DIFFERS") << '\n';
  }
  std::cout << (verified.passed() ? "passed\n" : "NOT passed\n");
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
