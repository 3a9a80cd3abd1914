#pragma once

// Method declarations in the host language, "Name(a as double, b as color = &cFFFFFF) as picture",
// and the literals that calls and defaults are written with.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sim {

class Picture;
class String;

/// A colour as the plugin receives it: red in bits 16 to 23, green, blue, and bits 24 to 31 on top.
struct Color {
  uint32_t value;
  friend bool operator==(const Color&, const Color&) = default;
};

using Argument = std::variant<double, int64_t, Color, String*, Picture*>;

enum class Type {
  kNone,
  kDouble,
  kSingle,
  kInteger,
  kInt64,
  kColor,
  kBoolean,
  kPicture,
  kString,
  /// Of the host language, but nothing that is made up or looked at here.
  kOther
};

const char* TypeName(Type type);
/// The type of the host's language that is meant, where it is written so or nearly so; else empty.
std::string NearestType(std::string_view text);

struct Parameter {
  std::string name;
  Type type;
  std::optional<Argument> defaultValue;
  /// The type as it is written: "FolderItem", "string()", "ByRef integer".
  std::string typeText = {};
};

struct Method {
  std::string declaration;
  std::string name;
  std::vector<Parameter> parameters;
  Type result = Type::kNone;
  std::string resultText = {};
  /// The class that is extended; of others "class Robot", "Picture (shared)", "a module".
  std::string owner;
  void* function = nullptr;
  uint32_t flags = 0;

  /// The fewest arguments that a call must give.
  size_t RequiredArguments() const;
  /// Why the method cannot be called here; empty when it can.
  std::string Obstacle() const;
};

/// What is wrong with a declaration or a call.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Whether they are one word of the host's language, which takes capitals for small letters.
bool SameWord(std::string_view left, std::string_view right);

/// Throws Unreadable when the text is no declaration.
Method ParseDeclaration(std::string_view text);
/// "30", "-7.5e3", "&hFF", "&o17", "&b101", "&cFF2040", "&c80FF2040" (the first two of eight digits
/// are bits 24 to 31, which six leave 0). Nothing is infinite.
std::optional<Argument> ParseLiteral(std::string_view text);
/// The value as a parameter of that type takes it (a whole number also fits a double); empty when
/// it does not fit.
std::optional<Argument> Convert(const Argument& value, Type type);

/// A call in the host language: "RotateVel(30, &cFF204060)", or a bare name. Strings stand in
/// quotation marks, which are doubled within; their arguments are null here.
struct CallText {
  std::string name;
  std::vector<Argument> arguments;
  std::vector<std::string> texts;  ///< of the strings, in order
};
/// Throws Unreadable when the text is no call.
CallText ParseCall(std::string_view text);

}  // namespace sim
