#ifndef TAV_DRIVE_SRC_STORAGE_VALUEFILE_HPP
#define TAV_DRIVE_SRC_STORAGE_VALUEFILE_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "dictionary/Object.hpp"

namespace tav::drive {

/** Values by the key of their object (index << 8 | subindex). */
using Values = std::map<std::uint32_t, Bytes>;

/**
 * The file behind the non-volatile memory. Whatever happens while it is written, it holds the whole old or
 * the whole new set: the new one is written beside it, brought to the disk, and takes its name.
 */
class ValueFile {
 public:
  /**
   * @param path  empty: nothing is kept
   * @param step  called before each step that touches the disk (for tests that end the program there)
   */
  ValueFile(std::string path, std::function<void()> step);

  /** The values it holds; none when there is no file. @return false when it is damaged or unreadable */
  [[nodiscard]] bool read(Values& values) const;
  /** Replaces what it holds. @return false when that failed; the old set stays */
  [[nodiscard]] bool write(const Values& values) const;

 private:
  void step() const;
  [[nodiscard]] bool write_beside(const std::string& text, const std::string& beside) const;
  [[nodiscard]] bool take_name(const std::string& beside) const;

  std::string path_;
  std::function<void()> step_;
};

}  // namespace tav::drive

#endif
