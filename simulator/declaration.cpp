#include "simulator/declaration.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <utility>

#include "simulator/nearest.h"
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

void Require(bool isRight, const std::string& elseWrong) {
  if (!isRight) throw Unreadable(elseWrong);
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
  /// "string", "Module1.Kind", "integer(,)"; `text` is how it is written, `what` whose type it is.
  Type ReadType(std::string& text, const std::string& what) {
    SkipSpaces();
    const std::string_view before = rest_;
    const std::string_view word = Word();
    Require(!word.empty(), "the type of " + what + " is missing");
    Type type = Type::kOther;
    for (const NamedType& each : kTypes) {
      if (SameWord(each.name, word)) type = each.type;
    }
    while (Accept('.')) {
      Require(!Word().empty(), "the type of " + what + " is missing");
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

Parameter ParseParameter(Scanner& scanner) {
  Parameter parameter;
  const bool byReference = scanner.AcceptWord("ByRef");
  parameter.name = scanner.Word();
  const bool isArray = scanner.AcceptDimensions();
  Require(!parameter.name.empty() && scanner.AcceptWord("as"),
          "a parameter is written \"name as type\"");
  parameter.type = scanner.ReadType(parameter.typeText, parameter.name);
  if (byReference || isArray) parameter.type = Type::kOther;
  if (isArray) parameter.typeText += "()";
  if (byReference) parameter.typeText = "ByRef " + parameter.typeText;
  if (!scanner.Accept('=')) return parameter;
  const std::string_view text = scanner.Literal();
  if (!text.empty()) parameter.defaultValue = ParseDefault(text, parameter.type);
  const bool isText = parameter.type == Type::kString && text.starts_with('"');
  Require(parameter.defaultValue || isText || parameter.type == Type::kOther,
          "the default of " + parameter.name + " does not fit its type");
  return parameter;
}

/// A list in parentheses, if there is one: take() reads each of its items.
template <class Take>
void ParseList(Scanner& scanner, const std::string& elseWrong, Take take) {
  if (!scanner.Accept('(') || scanner.Accept(')')) return;
  do take();
  while (scanner.Accept(','));
  Require(scanner.Accept(')'), elseWrong);
}

void RequireEnd(Scanner& scanner, const std::string& what) {
  Require(scanner.AtEnd(),
          "nothing may follow the " + what + ", but \"" + std::string(scanner.rest()) + "\" does");
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

Argument ParseArgument(std::string_view literal) {
  if (const auto value = ParseLiteral(literal)) return *value;
  // "#FF2040" is opaque where it is known; what is written so here is not.
  const bool foreign = literal.size() == 7 && literal.starts_with('#');
  const std::string digits(foreign ? literal.substr(1) : "FF2040");
  throw Unreadable("\"" + std::string(literal) +
                   "\" is neither a number nor a colour such as &cFF" + digits +
                   " (opaque); six digits, &c" + digits + ", leave alpha 0 (transparent)");
}

}  // namespace

bool SameWord(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

const char* TypeName(Type type) {
  for (const NamedType& each : kTypes) {
    if (each.type == type) return each.name;
  }
  return "nothing";
}

std::string NearestType(std::string_view text) {
  constexpr size_t kNear = 2;
  const bool isWord = std::ranges::all_of(text, [](unsigned char c) { return std::isalnum(c); });
  return isWord ? NearestName(text, kTypes, &NamedType::name, kNear) : "";
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

Method ParseDeclaration(std::string_view text) {
  Scanner scanner(text);
  Method method;
  method.declaration = text;
  method.name = scanner.Word();
  Require(!method.name.empty(), "the method has no name");
  ParseList(scanner, "the parameters do not end",
            [&] { method.parameters.push_back(ParseParameter(scanner)); });
  if (scanner.AcceptWord("as")) method.result = scanner.ReadType(method.resultText, "the result");
  RequireEnd(scanner, "result");
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
  const auto* const whole = std::get_if<int64_t>(&value);
  bool fits = false;
  switch (type) {
    case Type::kDouble:
    case Type::kSingle:
      if (whole != nullptr) return static_cast<double>(*whole);
      fits = std::holds_alternative<double>(value);
      break;
    case Type::kInteger:
      fits = whole != nullptr && *whole == static_cast<int32_t>(*whole);
      break;
    case Type::kInt64:
      fits = whole != nullptr;
      break;
    case Type::kBoolean:
      fits = whole != nullptr && (*whole == 0 || *whole == 1);
      break;
    case Type::kColor:
      fits = std::holds_alternative<Color>(value);
      break;
    case Type::kString:
      fits = std::holds_alternative<String*>(value);
      break;
    case Type::kPicture:
      fits = std::holds_alternative<Picture*>(value);
      break;
    default:
      break;
  }
  return fits ? std::optional(value) : std::nullopt;
}

CallText ParseCall(std::string_view text) {
  Scanner scanner(text);
  CallText call;
  call.name = scanner.Word();
  Require(!call.name.empty(), "a call starts with the method's name");
  ParseList(scanner, "the arguments do not end with a parenthesis", [&] {
    const std::string_view literal = scanner.Literal();
    if (auto string = Unquoted(literal)) {
      call.arguments.emplace_back(static_cast<String*>(nullptr));
      call.texts.push_back(std::move(*string));
    } else {
      call.arguments.push_back(ParseArgument(literal));
    }
  });
  RequireEnd(scanner, "call");
  return call;
}

}  // namespace sim
