#ifndef TAVCTL_CLI_JSON_HPP
#define TAVCTL_CLI_JSON_HPP

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace tavctl {

/**
 * A value as programs are told it: null, a truth value, a number, a text, a list, or members by name in the
 * order in which they were put.
 */
class Json {
 public:
  struct Member;

  Json() = default;
  Json(const char* text) : kind_(Kind::TEXT), text_(text) {}
  Json(std::string text);
  template <class T, std::enable_if_t<std::is_arithmetic_v<T>, int> = 0>
  Json(T value) {
    if constexpr (std::is_same_v<T, bool>) {
      set(value);
    } else if constexpr (std::is_floating_point_v<T>) {
      set(static_cast<double>(value));
    } else if constexpr (std::is_signed_v<T>) {
      set(static_cast<std::int64_t>(value));
    } else {
      set(static_cast<std::uint64_t>(value));
    }
  }
  /** A list of texts. */
  Json(const std::vector<std::string>& texts);
  /** Members by name: {{"node", 10}, {"state", "FAULT"}}. */
  Json(std::initializer_list<Member> members);

  [[nodiscard]] static Json array();
  [[nodiscard]] static Json object();

  [[nodiscard]] bool is_array() const { return kind_ == Kind::ARRAY; }
  [[nodiscard]] bool is_object() const { return kind_ == Kind::OBJECT; }
  [[nodiscard]] bool is_text() const { return kind_ == Kind::TEXT; }
  /** Elements of a list or members by name; 0 for all else. */
  [[nodiscard]] std::size_t size() const { return elements_.size(); }
  [[nodiscard]] bool empty() const { return elements_.empty(); }
  [[nodiscard]] std::vector<Json>::const_iterator begin() const { return elements_.begin(); }
  [[nodiscard]] std::vector<Json>::const_iterator end() const { return elements_.end(); }

  /** The member of that name; null when there is none. */
  [[nodiscard]] const Json* find(const std::string& name) const;
  /** The text; empty for what is none. */
  [[nodiscard]] const std::string& text() const { return text_; }
  /** The number, when it is whole and not negative. */
  [[nodiscard]] std::optional<std::uint64_t> whole() const;

  /** The member of that name, put behind the others when there is none. Null becomes an object. */
  Json& operator[](const std::string& name);
  const Json& operator[](std::size_t position) const { return elements_[position]; }
  /** Puts a value behind the others of a list. Null becomes a list. */
  Json& push_back(Json value);
  /** Takes over the members of another object. */
  void update(const Json& other);

  /** As JSON on one line, or with `indent` blanks a level; text that is no UTF-8 is replaced, not refused. */
  [[nodiscard]] std::string dump(int indent = -1) const;
  /** Reads JSON; nothing when it is none or nested deeper than any file of ours. */
  [[nodiscard]] static std::optional<Json> parse(std::istream& stream);

  friend bool operator==(const Json& a, const Json& b);
  friend bool operator!=(const Json& a, const Json& b) { return !(a == b); }

 private:
  friend class JsonText;

  enum class Kind { NOTHING, TRUTH, INTEGER, UNSIGNED, REAL, TEXT, ARRAY, OBJECT };

  void set(bool value);
  void set(std::int64_t value);
  void set(std::uint64_t value);
  void set(double value);

  Kind kind_ = Kind::NOTHING;
  union {
    bool truth;
    std::int64_t integer;
    std::uint64_t natural;
    double real;
  } number_ = {};
  std::string text_;
  std::vector<Json> elements_;
  std::vector<std::string> names_;  ///< of the elements of an object
};

struct Json::Member {
  std::string name;
  Json value;
};

}  // namespace tavctl

#endif
