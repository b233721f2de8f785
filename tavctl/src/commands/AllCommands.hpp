#ifndef TAVCTL_COMMANDS_ALLCOMMANDS_HPP
#define TAVCTL_COMMANDS_ALLCOMMANDS_HPP

#include "cli/Command.hpp"

namespace tavctl {

void add_comm_test(Command& program);
void add_communication(Command& program);
void add_config(Command& program);
void add_cycle_test(Command& program);
void add_doctor(Command& program);
void add_drive(Command& program);
void add_eds(Command& program);
void add_emcy(Command& program);
void add_errors(Command& program);
void add_group(Command& program);
void add_info(Command& program);
void add_list(Command& program);
void add_manufacturer(Command& program);
void add_motion(Command& program);
void add_network(Command& program);
void add_nmt(Command& program);
void add_pdo(Command& program);
void add_power(Command& program);
void add_read_write(Command& program);
void add_safety(Command& program);
void add_scan(Command& program);
void add_settings(Command& program);
void add_setup(Command& program);
void add_sniff(Command& program);
void add_state(Command& program);
void add_store_and_restore(Command& program);
void add_trace(Command& program);
void add_velocity(Command& program);
void add_watch(Command& program);

/** Adds every command, in the order in which --help lists them. */
void add_all(Command& program);

}  // namespace tavctl

#endif
