#include "cli/BlackBox.hpp"

#include <fstream>
#include <nkr/canopen/Client.hpp>
#include <sstream>

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
  std::ofstream file(path_, std::ios::binary);
  file << log_;
  file.close();
  output.note(file ? "black box: the last frames are in " + path_ + " (tavctl trace decode " + path_ + ")"
                   : "WARNING: the black box " + path_ + " cannot be written");
}

}  // namespace tavctl
