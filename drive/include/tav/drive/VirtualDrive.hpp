#ifndef TAV_DRIVE_VIRTUALDRIVE_HPP
#define TAV_DRIVE_VIRTUALDRIVE_HPP

#include <nkr/can/Bus.hpp>

#endif
