// Where the libraries' messages go: to standard error, and to a function of the program's own.
#include <nkr/log.h>

#include <exception>
#include <iostream>
#include <nkr/Error.hpp>
#include <tavcore/Controller.hpp>

namespace {

/** Calls of one callback never overlap. All of the record is valid during the call only. */
void take(void* user, const nkr_log_record_t* record) {
  ++*static_cast<int*>(user);
  std::cout << "level " << record->level << ", context " << record->context << ": " << record->text << '\n';
}

}  // namespace

int main() try {
  int messages = 0;
  nkr_log_sink_t sink = 0;
  nkr::throw_if_failed(nkr_log_add_callback(take, &messages, NKR_LOG_WARNING, &sink), "add a callback");
  nkr::throw_if_failed(nkr_log_add_stderr(NKR_LOG_FAILURE, nullptr), "add standard error");
  nkr_log_set_enabled(1);  // off at the start of a program

  nkr::tavcore::Controller controller;
  if (controller.setTargetVelocity(100) != NKR_NOT_AVAILABLE) return 1;  // nothing moves before init()
  nkr::throw_if_failed(nkr_log_remove_sink(sink), "remove the callback");
  std::cout << messages << " message, " << nkr_log_dropped() << " lost\n";
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
