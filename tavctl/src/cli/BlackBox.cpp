#include "cli/BlackBox.hpp"

#include <nkr/canopen/Client.hpp>
#include <sstream>

#include "cli/Failure.hpp"
#include "cli/files.hpp"

namespace tavctl {

void BlackBox::keep(const nkr::canopen::Client& client) {
  if (path_.empty()) return;
  std::ostringstream log;
  client.writeFrames(log);
  log_ += log.str();
}

void BlackBox::write(Output& output) const {
  if (path_.empty()) return;
  if (log_.empty()) {
    output.note("black box: no frame was sent or received; " + path_ + " is not written");
    return;
  }
  try {
    write_file(path_, log_);
    output.note("black box: the last frames are in " + path_ + " (tavctl trace decode " + path_ + ")");
  } catch (const Failure& failure) {
    output.note("WARNING: the black box " + path_ + " cannot be written: " + failure.hint());
  }
}

}  // namespace tavctl
