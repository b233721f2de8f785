#ifndef TAV_DRIVE_PROGRAM_CONSOLE_HPP
#define TAV_DRIVE_PROGRAM_CONSOLE_HPP

#include <string>
#include <tav/drive/VirtualDrive.hpp>

namespace tav::drive {

/** Lines of a scenario that a user types while the drive runs; each happens at once, or when it says. */
class Console {
 public:
  explicit Console(VirtualDrive& drive) : drive_(drive) {}

  /** What to wait on for input; -1 when there is none, or no more. */
  [[nodiscard]] int descriptor() const { return descriptor_; }
  /** Reads what is there and does it. Each line is answered: "ok", or what is wrong with it. */
  void read();

 private:
  void execute(const std::string& line);

  VirtualDrive& drive_;
  int descriptor_ = 0;
  std::string typed_;  // of a line that is not complete
};

}  // namespace tav::drive

#endif
