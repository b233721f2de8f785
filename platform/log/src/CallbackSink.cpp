#include "Sink.hpp"

namespace nkr::log {
namespace {

class CallbackSink final : public Sink {
 public:
  CallbackSink(nkr_log_callback_t callback, void* user, std::uint32_t level)
      : Sink(level), callback_(callback), user_(user) {}

 protected:
  bool write(const nkr_log_record_t& record) override {
    callback_(user_, &record);
    return true;
  }

 private:
  nkr_log_callback_t callback_;
  void* user_;
};

}  // namespace

std::shared_ptr<Sink> make_callback_sink(nkr_log_callback_t callback, void* user, std::uint32_t level) {
  return std::make_shared<CallbackSink>(callback, user, level);
}

}  // namespace nkr::log
