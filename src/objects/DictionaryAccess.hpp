#ifndef TAVCORE_OBJECTS_DICTIONARYACCESS_HPP
#define TAVCORE_OBJECTS_DICTIONARYACCESS_HPP

#include <nkr/error.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <nkr/canopencore/IService.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <string_view>
#include <tavcore/Config.hpp>

#include "TypedObject.hpp"

namespace nkr::tavcore {

/** The class field of the dispatcher's log records. */
inline constexpr char kDispatcherClass[] = "CANOpenDispatcher";

/**
 * The access to one object of the drive's object dictionary: the client, the device description that gives
 * names their addresses, the node that is addressed, and the records. One attempt each; repeating is for the
 * steps.
 *
 * Values: bool, signed char (read only), unsigned char, short, unsigned short, int, unsigned int, float,
 * std::string; by address the unsigned ones alone.
 */
class DictionaryAccess {
 public:
  DictionaryAccess(std::shared_ptr<Config> config, std::shared_ptr<canopencore::IService> client);

  /** Reads the device description; false leaves the one that was there before. */
  [[nodiscard]] bool load(std::istream& description);
  [[nodiscard]] bool is_loaded() const { return loaded_; }

  /**
   * Reads or writes an object and records it.
   * @return NKR_NOT_AVAILABLE for a name that the description lacks, nothing being sent; else the client's
   * result
   */
  template <class T>
  [[nodiscard]] nkr_error_t read(const Object<T>& object, T& value) const {
    return read_named(object.name, value);
  }
  template <class T>
  [[nodiscard]] nkr_error_t read(const NumberedObject<T>& object, T& value) const {
    return read_named(object.name, value);
  }
  template <class T>
  [[nodiscard]] nkr_error_t read(const ObjectAt<T>& object, T& value) const {
    return read_at(object.address, value);
  }
  template <class T>
  [[nodiscard]] nkr_error_t write(const Object<T>& object, const T& value) const {
    return write_named(object.name, value);
  }
  template <class T>
  [[nodiscard]] nkr_error_t write(const NumberedObject<T>& object, const T& value) const {
    return write_named(object.name, value);
  }
  template <class T>
  [[nodiscard]] nkr_error_t write(const ObjectAt<T>& object, const T& value) const {
    return write_at(object.address, value);
  }

  /** Address of a named object; NKR_NOT_AVAILABLE, recorded, when the description lacks it. */
  [[nodiscard]] nkr_error_t resolve(std::string_view name, std::uint32_t& address) const;
  /** The object of that name in the description, or null; without a record. */
  [[nodiscard]] const tools::ObjectEntry* find(std::string_view name) const {
    return description_.find(name);
  }

  /** @name The records of writes that succeeded
   * @{ */
  template <class T>
  void record_write(std::string_view name, std::uint32_t address, const T& value) const;
  template <class T>
  void record_write_at(std::uint32_t address, const T& value) const;
  /** @} */

  /** The node that is addressed: its low 8 bits. Records show all of it as a signed number. */
  [[nodiscard]] std::uint8_t node() const { return static_cast<std::uint8_t>(node_id_); }
  [[nodiscard]] std::uint32_t node_id() const { return node_id_; }
  void address_node(std::uint32_t node_id) { node_id_ = node_id; }

  /** Null when the dispatcher was given none. */
  [[nodiscard]] const Config* config() const { return config_.get(); }
  [[nodiscard]] canopencore::IService& client() const { return *client_; }
  [[nodiscard]] bool has_client() const { return client_ != nullptr; }
  /** The context of log records. */
  [[nodiscard]] std::uint32_t context() const;

 private:
  template <class T>
  [[nodiscard]] nkr_error_t read_named(const std::string_view& name, T& value) const;
  template <class T>
  [[nodiscard]] nkr_error_t write_named(const std::string_view& name, const T& value) const;
  template <class T>
  [[nodiscard]] nkr_error_t read_at(std::uint32_t address, T& value) const;
  template <class T>
  [[nodiscard]] nkr_error_t write_at(std::uint32_t address, const T& value) const;

  /** Records a name that the description lacks; NKR_NOT_AVAILABLE. */
  [[nodiscard]] nkr_error_t refuse_name(std::string_view name, const char* function) const;

  // The records; only while the log is on.
  void send_read(std::string_view name, std::uint32_t address, bool succeeded) const;
  template <class T>
  void send_write(std::string_view name, std::uint32_t address, const T& value, bool succeeded) const;
  template <class T>
  void send_write_at(std::uint32_t address, const T& value, bool succeeded) const;
  void send_record(std::uint32_t level, const char* function, const std::string& text) const;

  std::shared_ptr<Config> config_;
  std::shared_ptr<canopencore::IService> client_;
  tools::EDSParser description_;
  bool loaded_ = false;
  std::uint32_t node_id_ = 0xFFFFFFFF;
};

}  // namespace nkr::tavcore

#endif
