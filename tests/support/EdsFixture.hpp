#ifndef TESTS_SUPPORT_EDSFIXTURE_HPP
#define TESTS_SUPPORT_EDSFIXTURE_HPP

#include <cstdint>
#include <map>
#include <nkr/tools/ObjectEntry.hpp>
#include <set>
#include <string>

namespace tavtest {

/**
 * A device description made for a test: objects by name and type, each a variable at an index of the
 * fixture's own choosing (from 0x2000 on, by name). A name may hold blanks, as that of a sub-entry does.
 */
class EdsFixture {
 public:
  using DataType = nkr::tools::DataType;

  /** Adds an object; a name that is there keeps its index. */
  void add(const std::string& name, DataType type, const std::string& default_value = {});
  /** The description's text then lacks the object; all others keep their addresses. */
  void remove(const std::string& name) { removed_.insert(name); }
  void restore(const std::string& name) { removed_.erase(name); }

  /** Address of an object: index << 16 | length in bits. The object may be a removed one. */
  [[nodiscard]] std::uint32_t address(const std::string& name) const;
  [[nodiscard]] DataType type(const std::string& name) const { return objects_.at(name).type; }
  [[nodiscard]] bool knows(const std::string& name) const { return objects_.count(name) != 0; }

  /** The description as a file holds it (CiA 306). */
  [[nodiscard]] std::string text() const;

 private:
  struct Object {
    std::uint32_t index;
    DataType type;
    std::string default_value;
  };

  std::map<std::string, Object> objects_;
  std::set<std::string> removed_;
};

/** Length in bits of an object's address (CiA 301 mapping entry); 0 for strings. Written out for the tests.
 */
[[nodiscard]] std::uint32_t address_bits(nkr::tools::DataType type);

}  // namespace tavtest

#endif
