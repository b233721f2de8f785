#ifndef TAV_DRIVE_PROGRAM_ARGUMENTS_HPP
#define TAV_DRIVE_PROGRAM_ARGUMENTS_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace tav::drive {

/** What the user of the program asks for. */
struct Arguments {
  std::string bus;
  std::string eds;
  std::string config;
  std::string store;
  std::string scenario;
  std::string motor = "agv-200mm";
  std::string timing = "typical";
  std::uint64_t seed = 1;
  std::uint8_t node = 0;
  bool console = false;
  bool help = false;
  bool version = false;
};

/** Reads the words behind the program's name. @return false, and what is wrong in `problem` */
bool read_arguments(const std::vector<std::string>& words, Arguments& arguments, std::string& problem);

/** The text of --help. */
[[nodiscard]] std::string help_text();

}  // namespace tav::drive

#endif
