// JSON as text: the one file that knows the JSON library.
#include <cstdio>
#include <istream>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/Json.hpp"

namespace tavctl {

/** Turns values into the library's and back. */
class JsonText {
 public:
  using Tree = nlohmann::ordered_json;

  [[nodiscard]] static Tree tree_of(const Json& json) {
    using Kind = Json::Kind;
    switch (json.kind_) {
      case Kind::NOTHING:
        break;
      case Kind::TRUTH:
        return json.number_.truth;
      case Kind::INTEGER:
        return json.number_.integer;
      case Kind::UNSIGNED:
        return json.number_.natural;
      case Kind::REAL:
        return json.number_.real;
      case Kind::TEXT:
        return json.text_;
      case Kind::ARRAY: {
        Tree tree = Tree::array();
        for (const Json& element : json.elements_) tree.push_back(tree_of(element));
        return tree;
      }
      case Kind::OBJECT: {
        Tree tree = Tree::object();
        for (std::size_t i = 0; i < json.names_.size(); ++i) {
          tree[json.names_[i]] = tree_of(json.elements_[i]);
        }
        return tree;
      }
    }
    return {};
  }
};

namespace {

/** Builds a value from what the library reads, one event after the other. */
class Builder : public nlohmann::json_sax<nlohmann::json> {
 public:
  explicit Builder(Json& root) : root_(root) {}

  bool null() override { return add(Json()); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool start_object(std::size_t /*elements*/) override { return open(Json::object()); }
  bool key(string_t& value) override {
    name_ = std::move(value);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t /*elements*/) override { return open(Json::array()); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t /*at*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*why*/) override {
    return false;
  }

 private:
  static constexpr std::size_t kDeepest = 64;

  bool add(Json value) {
    place(std::move(value));
    return true;
  }
  bool open(Json container) {
    if (open_.size() == kDeepest) return false;
    open_.push_back(&place(std::move(container)));
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }
  /** An open container grows only while all within it are closed: its place does not move. */
  Json& place(Json value) {
    if (open_.empty()) return root_ = std::move(value);
    Json& container = *open_.back();
    if (container.is_object()) return container[name_] = std::move(value);
    return container.push_back(std::move(value));
  }

  Json& root_;
  std::vector<Json*> open_;
  std::string name_;
};

/** The library leaves DEL and C1 as they are, which act on terminals: they stand escaped, too. */
std::string without_c1(std::string json) {
  const auto escape = [&json](std::size_t at, std::size_t size, unsigned code) {
    char text[] = "\\u0000";
    std::snprintf(text, sizeof text, "\\u%04x", code);
    json.replace(at, size, text);
  };
  for (std::size_t at = json.size(); at-- > 0;) {
    const auto byte = static_cast<unsigned char>(json[at]);
    const auto next = static_cast<unsigned char>(at + 1 < json.size() ? json[at + 1] : 0);
    if (byte == 0x7F) escape(at, 1, byte);
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) escape(at, 2, next);
  }
  return json;
}

}  // namespace

std::string Json::dump(int indent) const {
  return without_c1(
      JsonText::tree_of(*this).dump(indent, ' ', false, JsonText::Tree::error_handler_t::replace));
}

std::optional<Json> Json::parse(std::istream& stream) {
  Json json;
  Builder builder(json);
  if (!nlohmann::json::sax_parse(stream, &builder)) return std::nullopt;
  return json;
}

}  // namespace tavctl
