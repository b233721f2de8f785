#ifndef TAVCORE_DISPATCHER_DEVICESTRINGS_HPP
#define TAVCORE_DISPATCHER_DEVICESTRINGS_HPP

#include <string>

#include "../objects/TypedObject.hpp"

namespace nkr::tavcore {

/** The identity strings (objects 0x1008 to 0x100A), read by everyone and written by the factory. */
template <class Field, class Parameters>
void device_strings(Field field, Parameters& parameters) {
  field(Object<std::string>{"Manufacturer device name"}, parameters.device_name);
  field(Object<std::string>{"Manufacturer hardware version"}, parameters.hardware_version);
  field(Object<std::string>{"Manufacturer software version"}, parameters.software_version);
}

}  // namespace nkr::tavcore

#endif
