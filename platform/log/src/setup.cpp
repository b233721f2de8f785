// The set-up calls; they know nothing of the functions in messages.cpp, which a program may replace.
#include <nkr/log_setup.h>

#include <chrono>
#include <memory>
#include <new>

#include "Registry.hpp"
#include "Sink.hpp"

using nkr::log::Registry;
using nkr::log::Sink;

namespace {

constexpr char kSystemLogSocket[] = "/dev/log";

/** Adds what `make` makes; a null sink is one whose place is not to be had. */
template <class Make>
nkr_error_t add_sink(nkr_log_sink_t* number, Make make) {
  if (number != nullptr) *number = 0;
  try {
    std::shared_ptr<Sink> sink = make();
    if (sink == nullptr) return NKR_NOT_AVAILABLE;
    const nkr_log_sink_t added = Registry::instance().add(std::move(sink));
    if (number != nullptr) *number = added;
    return NKR_OK;
  } catch (const std::bad_alloc&) {
    return NKR_ERROR;
  }
}

bool is_empty(const char* text) {
  return text == nullptr || *text == '\0';
}

}  // namespace

void nkr_log_set_enabled(int on) {
  Registry::instance().set_enabled(on != 0);
}

void nkr_log_set_level(uint32_t level) {
  Registry::instance().set_level(level);
}

nkr_error_t nkr_log_add_stderr(uint32_t level, nkr_log_sink_t* sink) {
  return add_sink(sink, [&] { return nkr::log::make_stderr_sink(level); });
}

nkr_error_t nkr_log_add_callback(nkr_log_callback_t callback, void* user, uint32_t level,
                                 nkr_log_sink_t* sink) {
  if (callback == nullptr) return NKR_ERROR;
  return add_sink(sink, [&] { return nkr::log::make_callback_sink(callback, user, level); });
}

nkr_error_t nkr_log_add_file(const char* path, uint64_t max_bytes, uint32_t kept, uint32_t level,
                             nkr_log_sink_t* sink) {
  if (is_empty(path)) return NKR_ERROR;
  return add_sink(sink, [&] { return nkr::log::make_file_sink(path, max_bytes, kept, level); });
}

nkr_error_t nkr_log_add_syslog(const char* ident, uint32_t level, nkr_log_sink_t* sink) {
  if (is_empty(ident)) return NKR_ERROR;
  return add_sink(sink, [&] { return nkr::log::make_syslog_sink(kSystemLogSocket, ident, level); });
}

nkr_error_t nkr_log_remove_sink(nkr_log_sink_t sink) {
  return Registry::instance().remove(sink) ? NKR_OK : NKR_NOT_AVAILABLE;
}

void nkr_log_remove_all_sinks(void) {
  Registry::instance().remove_all();
}

nkr_error_t nkr_log_flush(uint32_t timeout_ms) {
  const std::chrono::milliseconds timeout(timeout_ms);
  return Registry::instance().flush(timeout) ? NKR_OK : NKR_NOT_AVAILABLE;
}

uint64_t nkr_log_dropped(void) {
  return Registry::instance().dropped();
}
