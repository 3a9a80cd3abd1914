// Declarations and calls in the host language.

#include "simulator/declaration.h"

#include <gtest/gtest.h>

namespace sim {
namespace {

TEST(Declaration, IsTakenApart) {
  const Method method =
      ParseDeclaration("RotateVel(angle as double, background as color = &cFFFFFFFF) as picture");
  EXPECT_EQ(method.name, "RotateVel");
  EXPECT_EQ(method.result, Type::kPicture);
  ASSERT_EQ(method.parameters.size(), 2U);
  EXPECT_EQ(method.parameters[0].type, Type::kDouble);
  EXPECT_EQ(method.parameters[1].name, "background");
  EXPECT_EQ(method.parameters[1].defaultValue, Argument(Color{0xFFFFFFFF}));
  EXPECT_EQ(method.RequiredArguments(), 1U);
}

TEST(Declaration, HasDefaultsOfEveryKind) {
  const struct {
    const char* parameter;
    std::optional<Argument> value;
  } cases[] = {
      {"b as string = \"(a, \"\"b\"\")\"", std::nullopt},
      {"b as string = nil", static_cast<String*>(nullptr)},
      {"b as picture = Nil", static_cast<Picture*>(nullptr)},
      {"b as integer = &hFF", int64_t{255}},
      {"b as integer = &HFFFFFFFF", int64_t{-1}},
      {"b as Int64 = &hFFFFFFFF", int64_t{0xFFFFFFFF}},
      {"b as double = &o17", 15.0},
      {"b as integer = &b101", int64_t{5}},
      {"b as boolean = TRUE", int64_t{1}},
  };
  for (const auto& [parameter, value] : cases) {
    const Method method =
        ParseDeclaration("A(" + std::string(parameter) + ", c as color = &c000001)");
    EXPECT_EQ(method.parameters[0].defaultValue, value) << parameter;
    EXPECT_EQ(method.parameters[1].defaultValue, Argument(Color{1})) << parameter;
  }
}

TEST(Declaration, OfOtherTypesIsReadAndNotTried) {
  for (const char* type : {"string()", "integer(,)", "Module1.Kind", "FolderItem"}) {
    Method method =
        ParseDeclaration("A(b as " + std::string(type) + " = 3, c as double) as " + type);
    method.owner = "Picture";
    EXPECT_EQ(method.result, Type::kOther);
    EXPECT_EQ(method.Obstacle(), "the parameter b as " + std::string(type) + " cannot be made up");
  }
}

TEST(Declaration, IsRefusedWithTheReason) {
  const char* const cases[][2] = {
      {"", "no name"},
      {"A(b as ) as picture", "type of b is missing"},
      {"A(b double)", "name as type"},
      {"A(b as double", "do not end"},
      {"A(b as integer = 1.5)", "default of b"},
      {"A(b as integer = 3000000000)", "default of b"},
      {"A(b as integer = &h1FFFFFFFF)", "default of b"},
      {"A(b as integer = &hG)", "default of b"},
      {"A(b as string = 3)", "default of b"},
      {"A(b as string = \"a)", "do not end"},
      {"A(b as Module1.)", "type of b is missing"},
      {"A as picture really", "\"really\""},
  };
  for (const auto& [text, reason] : cases) {
    std::string why;
    try {
      ParseDeclaration(text);
    } catch (const Unreadable& error) {
      why = error.what();
    }
    EXPECT_NE(why.find(reason), std::string::npos) << text << ": " << why;
  }
}

TEST(Call, IsTakenApart) {
  const CallText call = ParseCall(" RotateVel( -7.5e1 , &c80ff2040,3 ) ");
  EXPECT_EQ(call.name, "RotateVel");
  EXPECT_EQ(call.arguments,
            (std::vector<Argument>{-75.0, Color{0x80FF2040}, Argument(int64_t{3})}));
  for (const char* wrong :
       {"", "A(", "A(1,)", "A(&cFFF)", "A(1) B", "A(0x10)", "A(1e)", "A(inf)"}) {
    EXPECT_THROW(ParseCall(wrong), Unreadable) << wrong;
  }
}

}  // namespace
}  // namespace sim
