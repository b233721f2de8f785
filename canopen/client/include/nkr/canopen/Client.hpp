#ifndef NKR_CANOPEN_CLIENT_HPP
#define NKR_CANOPEN_CLIENT_HPP

#include <nkr/canopencore/IService.hpp>

#endif
