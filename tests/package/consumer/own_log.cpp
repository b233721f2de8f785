// A program that brings its own nine log functions: the library's messages reach them, and nothing else.
#include <nkr/log.h>

#include <string>
#include <tavcore/Controller.hpp>
#include <vector>

#include "expect.hpp"

struct nkr_log_msg {
  std::vector<std::string> fields;
};

namespace {

nkr_log_msg the_buffer;
std::vector<std::vector<std::string>> sent;
int freed = 0;

}  // namespace

nkr_error_t nkr_log_is_enabled() {
  return NKR_OK;
}
nkr_log_msg_t* nkr_log_msg_get_new_buffer() {
  return &the_buffer;
}
nkr_error_t nkr_log_msg_encode_begin(nkr_log_msg_t* buffer) {
  buffer->fields.clear();
  return NKR_OK;
}
nkr_error_t nkr_log_msg_encode_header(nkr_log_msg_t*, uint32_t, uint32_t) {
  return NKR_OK;
}
nkr_error_t nkr_log_msg_encode_str(nkr_log_msg_t* buffer, const char* text) {
  buffer->fields.emplace_back(text);
  return NKR_OK;
}
nkr_error_t nkr_log_msg_encode_uint(nkr_log_msg_t*, uint32_t) {
  return NKR_OK;
}
nkr_error_t nkr_log_msg_encode_end(nkr_log_msg_t*) {
  return NKR_OK;
}
nkr_error_t nkr_log_send_msg(uint32_t, uint32_t, nkr_log_msg_t* buffer) {
  sent.push_back(buffer->fields);
  return NKR_OK;
}
void nkr_log_msg_free_buffer(nkr_log_msg_t*) {
  ++freed;
}

int main() {
  // The library's own set-up calls may be linked beside the functions above.
  nkr_log_set_enabled(1);
  nkr_log_add_stderr(NKR_LOG_TRACE, nullptr);

  nkr::tavcore::Controller controller;
  expect(controller.setTargetVelocity(100) == NKR_NOT_AVAILABLE, "nothing moves before init");
  expect(sent.size() == 1 && freed == 1, "one message was built, sent and freed");
  expect(sent[0].front() == "setTargetVelocity", "it names the operation");
  expect(nkr_log_dropped() == 0, "the library's own sinks saw nothing");
  return 0;
}
