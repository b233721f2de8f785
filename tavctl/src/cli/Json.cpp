#include "cli/Json.hpp"

#include <algorithm>
#include <utility>

namespace tavctl {

Json::Json(std::string text) : kind_(Kind::TEXT), text_(std::move(text)) {}

Json::Json(const std::vector<std::string>& texts)
    : kind_(Kind::ARRAY), elements_(texts.begin(), texts.end()) {}

Json::Json(std::initializer_list<Member> members) : kind_(Kind::OBJECT) {
  elements_.reserve(members.size());
  names_.reserve(members.size());
  for (const Member& member : members) (*this)[member.name] = member.value;
}

Json Json::array() {
  Json json;
  json.kind_ = Kind::ARRAY;
  return json;
}

Json Json::object() {
  Json json;
  json.kind_ = Kind::OBJECT;
  return json;
}

void Json::set(bool value) {
  kind_ = Kind::TRUTH;
  number_.truth = value;
}

void Json::set(std::int64_t value) {
  kind_ = Kind::INTEGER;
  number_.integer = value;
}

void Json::set(std::uint64_t value) {
  kind_ = Kind::UNSIGNED;
  number_.natural = value;
}

void Json::set(double value) {
  kind_ = Kind::REAL;
  number_.real = value;
}

const Json* Json::find(const std::string& name) const {
  const auto found = std::find(names_.begin(), names_.end(), name);
  return found == names_.end() ? nullptr : &elements_[static_cast<std::size_t>(found - names_.begin())];
}

std::optional<std::uint64_t> Json::whole() const {
  if (kind_ == Kind::UNSIGNED) return number_.natural;
  if (kind_ == Kind::INTEGER && number_.integer >= 0) return static_cast<std::uint64_t>(number_.integer);
  return std::nullopt;
}

Json& Json::operator[](const std::string& name) {
  if (kind_ == Kind::NOTHING) kind_ = Kind::OBJECT;
  const auto found = std::find(names_.begin(), names_.end(), name);
  if (found != names_.end()) return elements_[static_cast<std::size_t>(found - names_.begin())];
  names_.push_back(name);
  return elements_.emplace_back();
}

Json& Json::push_back(Json value) {
  if (kind_ == Kind::NOTHING) kind_ = Kind::ARRAY;
  return elements_.emplace_back(std::move(value));
}

void Json::update(const Json& other) {
  for (std::size_t i = 0; i < other.names_.size(); ++i) (*this)[other.names_[i]] = other.elements_[i];
}

bool operator==(const Json& a, const Json& b) {
  using Kind = Json::Kind;
  if (a.kind_ != b.kind_) return a.whole() && a.whole() == b.whole();  // 5 is 5, signed or not
  switch (a.kind_) {
    case Kind::NOTHING:
      return true;
    case Kind::TRUTH:
      return a.number_.truth == b.number_.truth;
    case Kind::INTEGER:
      return a.number_.integer == b.number_.integer;
    case Kind::UNSIGNED:
      return a.number_.natural == b.number_.natural;
    case Kind::REAL:
      return a.number_.real == b.number_.real;
    case Kind::TEXT:
      return a.text_ == b.text_;
    case Kind::ARRAY:
    case Kind::OBJECT:
      return a.names_ == b.names_ && a.elements_ == b.elements_;
  }
  return false;
}

}  // namespace tavctl
