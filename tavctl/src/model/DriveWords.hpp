#ifndef TAVCTL_MODEL_DRIVEWORDS_HPP
#define TAVCTL_MODEL_DRIVEWORDS_HPP

#include <tav/host/words.hpp>

namespace tavctl {

using tav::host::control_word_text;
using tav::host::error_register_text;
using tav::host::joined;
using tav::host::nmt_name;
using tav::host::state_name;
using tav::host::state_of;
using tav::host::status_bits;
using tav::host::status_word_text;

}  // namespace tavctl

#endif
