#ifndef TAV_DRIVE_PROGRAM_REPORTS_HPP
#define TAV_DRIVE_PROGRAM_REPORTS_HPP

#include <fstream>
#include <nkr/can/Frame.hpp>
#include <string>
#include <tav/drive/Fleet.hpp>
#include <vector>

#include "Arguments.hpp"

namespace tav::drive {

/** What the program writes down while its drives run, and how it ends. */
class Reports {
 public:
  explicit Reports(const Arguments& arguments) : arguments_(arguments) {}

  /** Opens the files. @return false, and which cannot be written in `problem` */
  bool open(std::string& problem);
  /** The time that is 0. */
  void begin(Time began) { began_ = began; }
  void frame(const nkr::can::Frame& frame, Time when);
  /** Takes what the drives did since the last call; what they refused is said on standard error. */
  void take_events(Fleet& fleet);
  /**
   * The run is over: the checks have ended.
   * @return the exit status that says how
   */
  int finish(Fleet& fleet, Time end);

 private:
  struct Ended {
    std::uint8_t node;
    Verdict verdict;
  };
  struct Happened {
    std::uint8_t node;
    Event event;
  };

  void write_event(const Happened& happened);
  void write_junit(const std::vector<Ended>& all, Time end) const;

  const Arguments& arguments_;
  std::ofstream log_;
  std::ofstream events_;
  bool json_ = false;
  Time began_{};
};

}  // namespace tav::drive

#endif
