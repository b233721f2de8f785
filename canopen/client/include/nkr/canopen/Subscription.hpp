#ifndef NKR_CANOPEN_SUBSCRIPTION_HPP
#define NKR_CANOPEN_SUBSCRIPTION_HPP

#include <nkr/export.h>

#include <memory>

namespace nkr::canopen {

class NKR_HIDDEN EventQueue;

/** A handler's stay with a client: it ends with this object, which may outlive the client. */
class NKR_EXPORT Subscription {
 public:
  Subscription() = default;
  ~Subscription() { end(); }
  Subscription(Subscription&& other) noexcept;
  Subscription& operator=(Subscription&& other) noexcept;
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

  /** When it returns the handler runs no more, unless it is called from inside a handler. */
  void end();

 private:
  friend class Client;
  Subscription(std::weak_ptr<EventQueue> events, int number);

  std::weak_ptr<EventQueue> events_;
  int number_ = 0;  ///< 0: none
};

}  // namespace nkr::canopen

#endif
