#include "session/ErrorField.hpp"

#include <cstdint>

namespace tavctl {

using nkr::canopen::Emergency;

std::vector<Emergency> read_error_field(Session& session) {
  auto& drive = *session.dispatcher();
  int count = 0;
  session.check(drive.getErrorCount(count), "read the number of errors");
  std::vector<Emergency> errors;
  for (int i = 1; i <= count; ++i) {
    unsigned int raw = 0;
    session.check(drive.getError(i, raw), "read error " + std::to_string(i));
    Emergency error;
    error.node = session.node();
    error.code = static_cast<std::uint16_t>(raw);
    error.vendor_data[0] = static_cast<std::uint8_t>(raw >> 16);
    error.vendor_data[1] = static_cast<std::uint8_t>(raw >> 24);
    errors.push_back(error);
  }
  return errors;
}

}  // namespace tavctl
