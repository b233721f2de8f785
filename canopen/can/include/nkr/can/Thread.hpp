#ifndef NKR_CAN_THREAD_HPP
#define NKR_CAN_THREAD_HPP

#include <nkr/time/Thread.hpp>

namespace nkr::can {

using time::Thread;

}  // namespace nkr::can

#endif
