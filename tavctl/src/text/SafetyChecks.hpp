#ifndef TAVCTL_TEXT_SAFETYCHECKS_HPP
#define TAVCTL_TEXT_SAFETYCHECKS_HPP

#include <tavcore/SafetyVerification.hpp>

#include "cli/Output.hpp"

namespace tavctl {

/** "STO 1: stored 0x90C2, computed 0x90C2", with what differs marked. */
void print_checks(Output& output, const nkr::tavcore::SafetyVerification& verification);

}  // namespace tavctl

#endif
