#ifndef TAVCTL_CLI_EXITCODE_HPP
#define TAVCTL_CLI_EXITCODE_HPP

namespace tavctl {

/** What the program answers to its caller; documented in --help. */
enum class ExitCode : int {
  OK = 0,
  FINDINGS = 1,       ///< the command did its work and found something wrong
  USAGE = 2,          ///< the command line cannot be understood
  CONFIGURATION = 3,  ///< configuration or device description cannot be used, or knows no such object
  CONNECTION = 4,     ///< the bus cannot be opened or went away
  NO_ANSWER = 5,      ///< the drive did not answer in time
  REFUSED = 6,        ///< the drive (or a check before it) refused the request
  WRONG_STATE = 7,    ///< the drive is not in, or did not reach, the state that the command needs
  INTERRUPTED = 130,  ///< ended by Ctrl-C
};

}  // namespace tavctl

#endif
