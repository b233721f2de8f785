#ifndef TAVCTL_COMMANDS_ALLCOMMANDS_HPP
#define TAVCTL_COMMANDS_ALLCOMMANDS_HPP

#include "cli/Commands.hpp"

namespace tavctl {

void add_comm_test(Commands& commands);
void add_communication(Commands& commands);
void add_config(Commands& commands);
void add_doctor(Commands& commands);
void add_eds(Commands& commands);
void add_emcy(Commands& commands);
void add_errors(Commands& commands);
void add_info(Commands& commands);
void add_list(Commands& commands);
void add_manufacturer(Commands& commands);
void add_motion(Commands& commands);
void add_network(Commands& commands);
void add_nmt(Commands& commands);
void add_pdo(Commands& commands);
void add_power(Commands& commands);
void add_read_write(Commands& commands);
void add_safety(Commands& commands);
void add_scan(Commands& commands);
void add_settings(Commands& commands);
void add_sniff(Commands& commands);
void add_state(Commands& commands);
void add_store_and_restore(Commands& commands);
void add_trace(Commands& commands);
void add_velocity(Commands& commands);
void add_watch(Commands& commands);

/** Adds every command, in the order in which --help lists them. */
inline void add_all(Commands& commands) {
  add_doctor(commands);
  add_scan(commands);
  add_info(commands);
  add_state(commands);
  add_watch(commands);
  add_read_write(commands);
  add_list(commands);
  add_eds(commands);
  add_power(commands);
  add_velocity(commands);
  add_motion(commands);
  add_errors(commands);
  add_emcy(commands);
  add_nmt(commands);
  add_settings(commands);
  add_sniff(commands);
  add_trace(commands);
  add_comm_test(commands);
  add_safety(commands);
  add_network(commands);
  add_communication(commands);
  add_pdo(commands);
  add_manufacturer(commands);
  add_store_and_restore(commands);
  add_config(commands);
}

}  // namespace tavctl

#endif
