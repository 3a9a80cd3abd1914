#include "simulator/declaration.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <utility>

#include "simulator/raw_call.h"

namespace sim {
namespace {

struct NamedType {
  const char* name;
  Type type;
};
constexpr NamedType kTypes[] = {
    {"double", Type::kDouble},   {"single", Type::kSingle}, {"integer", Type::kInteger},
    {"Int64", Type::kInt64},     {"color", Type::kColor},   {"boolean", Type::kBoolean},
    {"picture", Type::kPicture}, {"string", Type::kString}, {"Int32", Type::kInteger},
    {"UInt32", Type::kInteger},  {"Int16", Type::kInteger}, {"UInt16", Type::kInteger},
    {"Int8", Type::kInteger},    {"UInt8", Type::kInteger}, {"byte", Type::kInteger},
    {"UInt64", Type::kInt64}};

bool SameWord(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

/// Reads a text from front to back; every step skips spaces first.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool AtEnd() {
    SkipSpaces();
    return rest_.empty();
  }
  std::string_view rest() const { return rest_; }
  bool Accept(char wanted) {
    SkipSpaces();
    if (rest_.empty() || rest_.front() != wanted) return false;
    rest_.remove_prefix(1);
    return true;
  }
  bool AcceptWord(std::string_view wanted) {
    Scanner ahead = *this;
    if (!SameWord(ahead.Word(), wanted)) return false;
    *this = ahead;
    return true;
  }
  /// Letters, digits and underscores; may be empty.
  std::string_view Word() {
    SkipSpaces();
    return ReadWhile([](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
  }
  /// Everything up to the next comma or parenthesis that is in no quotation marks (doubled, one is
  /// part of the text).
  std::string_view Literal() {
    SkipSpaces();
    bool quoted = false;
    std::string_view text = ReadWhile([&quoted](char c) {
      if (c == '"') quoted = !quoted;
      return quoted || (c != ',' && c != ')');
    });
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
  }
  /// "()", "(,)": true when there is one.
  bool AcceptDimensions() {
    Scanner ahead = *this;
    if (!ahead.Accept('(')) return false;
    while (ahead.Accept(',')) {
    }
    if (!ahead.Accept(')')) return false;
    *this = ahead;
    return true;
  }
  /// "string", "Module1.Kind", "integer(,)"; `text` is how it is written.
  std::optional<Type> ReadType(std::string& text) {
    SkipSpaces();
    const std::string_view before = rest_;
    const std::string_view word = Word();
    if (word.empty()) return std::nullopt;
    Type type = Type::kOther;
    for (const NamedType& each : kTypes) {
      if (SameWord(each.name, word)) type = each.type;
    }
    while (Accept('.')) {
      if (Word().empty()) return std::nullopt;
      type = Type::kOther;
    }
    if (AcceptDimensions()) type = Type::kOther;
    text = before.substr(0, before.size() - rest_.size());
    while (text.ends_with(' ')) text.pop_back();
    return type;
  }

 private:
  void SkipSpaces() {
    ReadWhile([](unsigned char c) { return std::isspace(c) != 0; });
  }
  template <class Test>
  std::string_view ReadWhile(Test test) {
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), test);
    const std::string_view taken = rest_.substr(0, static_cast<size_t>(end - rest_.begin()));
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
};

template <class T>
std::optional<T> ParseWhole(std::string_view text, int base = 10) {
  T value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, base);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// "&hFF", "&o17", "&b101".
std::optional<int64_t> ParseBits(std::string_view text) {
  constexpr std::pair<const char*, int> kBases[] = {{"&h", 16}, {"&o", 8}, {"&b", 2}};
  for (const auto& [prefix, base] : kBases) {
    if (!SameWord(text.substr(0, 2), prefix)) continue;
    if (const auto bits = ParseWhole<uint64_t>(text.substr(2), base)) {
      return static_cast<int64_t>(*bits);
    }
  }
  return std::nullopt;
}

/// A default; empty when it does not fit.
std::optional<Argument> ParseDefault(std::string_view text, Type type) {
  const bool isNil = SameWord(text, "nil");
  if (type == Type::kPicture && isNil) return static_cast<Picture*>(nullptr);
  if (type == Type::kString && isNil) return static_cast<String*>(nullptr);
  if (SameWord(text, "true") || SameWord(text, "false")) {
    return Convert(int64_t{SameWord(text, "true")}, type);
  }
  // Written as bits, a value fills all 32 of them: &hFFFFFFFF is −1.
  if (const auto bits = ParseBits(text); bits && type == Type::kInteger && *bits >> 32 == 0) {
    return int64_t{static_cast<int32_t>(*bits)};
  }
  const auto literal = ParseLiteral(text);
  return literal ? Convert(*literal, type) : std::nullopt;
}

bool ParseParameter(Scanner& scanner, Parameter& parameter, std::string& why) {
  const bool byReference = scanner.AcceptWord("ByRef");
  parameter.name = scanner.Word();
  const bool isArray = scanner.AcceptDimensions();
  if (parameter.name.empty() || !scanner.AcceptWord("as")) {
    why = "a parameter is written \"name as type\"";
    return false;
  }
  const auto type = scanner.ReadType(parameter.typeText);
  if (!type) {
    why = "the type of " + parameter.name + " is missing";
    return false;
  }
  parameter.type = byReference || isArray ? Type::kOther : *type;
  if (isArray) parameter.typeText += "()";
  if (byReference) parameter.typeText = "ByRef " + parameter.typeText;
  if (!scanner.Accept('=')) return true;
  const std::string_view text = scanner.Literal();
  if (!text.empty()) parameter.defaultValue = ParseDefault(text, parameter.type);
  const bool isText = parameter.type == Type::kString && text.starts_with('"');
  if (parameter.defaultValue || isText || parameter.type == Type::kOther) return true;
  why = "the default of " + parameter.name + " does not fit its type";
  return false;
}

bool ParseMethod(Scanner& scanner, Method& method, std::string& why) {
  method.name = scanner.Word();
  if (method.name.empty()) {
    why = "the method has no name";
    return false;
  }
  if (scanner.Accept('(') && !scanner.Accept(')')) {
    do {
      if (!ParseParameter(scanner, method.parameters.emplace_back(), why)) return false;
    } while (scanner.Accept(','));
    if (!scanner.Accept(')')) {
      why = "the parameters do not end";
      return false;
    }
  }
  if (scanner.AcceptWord("as")) {
    const auto type = scanner.ReadType(method.resultText);
    if (!type) {
      why = "the type of the result is missing";
      return false;
    }
    method.result = *type;
  }
  if (scanner.AtEnd()) return true;
  why = "nothing may follow the result, but \"" + std::string(scanner.rest()) + "\" does";
  return false;
}

/// The text within quotation marks; empty when there are none around all of it.
std::optional<std::string> Unquoted(std::string_view literal) {
  if (literal.size() < 2 || literal.front() != '"' || literal.back() != '"') return std::nullopt;
  std::string text;
  for (size_t i = 1; i + 1 < literal.size(); ++i) {
    if (literal[i] == '"' && literal[++i] != '"') return std::nullopt;
    text += literal[i];
  }
  return text;
}

}  // namespace

const char* TypeName(Type type) {
  for (const NamedType& each : kTypes) {
    if (each.type == type) return each.name;
  }
  return "nothing";
}

size_t Method::RequiredArguments() const {
  size_t count = parameters.size();
  while (count > 0 && parameters[count - 1].defaultValue) --count;
  return count;
}

std::string Method::Obstacle() const {
  if (owner != "Picture") return "extends " + owner + ", of which no object is made up here";
  for (const Parameter& parameter : parameters) {
    if (parameter.type != Type::kOther) continue;
    return "the parameter " + parameter.name + " as " + parameter.typeText + " cannot be made up";
  }
  return 1 + 2 * parameters.size() > RawCall::kRoom ? "has more parameters than are tried here"
                                                    : "";
}

std::optional<Method> ParseDeclaration(std::string_view text, std::string* why) {
  Scanner scanner(text);
  Method method;
  method.declaration = text;
  if (!ParseMethod(scanner, method, *why)) return std::nullopt;
  return method;
}

std::optional<Argument> ParseLiteral(std::string_view text) {
  if (text.size() > 2 && SameWord(text.substr(0, 2), "&c")) {
    const std::string_view digits = text.substr(2);
    const auto value = ParseWhole<uint32_t>(digits, 16);
    if ((digits.size() != 6 && digits.size() != 8) || !value) return std::nullopt;
    return Color{*value};
  }
  if (const auto bits = ParseBits(text)) return *bits;
  if (const auto whole = ParseWhole<int64_t>(text)) return *whole;
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc() || stop != end || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

std::optional<Argument> Convert(const Argument& value, Type type) {
  switch (type) {
    case Type::kDouble:
    case Type::kSingle:
      if (const auto* whole = std::get_if<int64_t>(&value)) return static_cast<double>(*whole);
      if (std::holds_alternative<double>(value)) return value;
      break;
    case Type::kInteger:
      if (const auto* whole = std::get_if<int64_t>(&value)) {
        if (*whole == static_cast<int32_t>(*whole)) return value;
      }
      break;
    case Type::kInt64:
      if (std::holds_alternative<int64_t>(value)) return value;
      break;
    case Type::kColor:
      if (std::holds_alternative<Color>(value)) return value;
      break;
    case Type::kBoolean:
      if (value == Argument(int64_t{0}) || value == Argument(int64_t{1})) return value;
      break;
    case Type::kString:
      if (std::holds_alternative<String*>(value)) return value;
      break;
    case Type::kPicture:
      if (std::holds_alternative<Picture*>(value)) return value;
      break;
    default:
      break;
  }
  return std::nullopt;
}

std::optional<CallText> ParseCall(std::string_view text, std::string* why) {
  Scanner scanner(text);
  CallText call;
  call.name = scanner.Word();
  if (call.name.empty()) {
    *why = "a call starts with the method's name";
    return std::nullopt;
  }
  if (scanner.Accept('(') && !scanner.Accept(')')) {
    do {
      const std::string_view literal = scanner.Literal();
      if (auto string = Unquoted(literal)) {
        call.arguments.emplace_back(static_cast<String*>(nullptr));
        call.texts.push_back(std::move(*string));
        continue;
      }
      const auto value = ParseLiteral(literal);
      if (!value) {
        // "#FF2040" is opaque where it is known; what is written so here is not.
        const bool foreign = literal.size() == 7 && literal.starts_with('#');
        const std::string digits(foreign ? literal.substr(1) : "FF2040");
        *why = "\"" + std::string(literal) + "\" is neither a number nor a colour such as &cFF" +
               digits + " (opaque); six digits, &c" + digits + ", leave alpha 0 (transparent)";
        return std::nullopt;
      }
      call.arguments.push_back(*value);
    } while (scanner.Accept(','));
    if (!scanner.Accept(')')) {
      *why = "the arguments do not end with a parenthesis";
      return std::nullopt;
    }
  }
  if (!scanner.AtEnd()) {
    *why = "nothing may follow the call, but \"" + std::string(scanner.rest()) + "\" does";
    return std::nullopt;
  }
  return call;
}

}  // namespace sim
