// What the shared object exports and needs, name by name.

#include "tests/host/exports.h"

#include <gtest/gtest.h>

namespace {

class SharedObject : public testing::Test {
 protected:
  void SetUp() override {
    if (!LinesOf("nm -D " VEL_PLUGIN " | grep __asan_init").empty()) {
      GTEST_SKIP() << "sanitizers bring names and libraries of their own";
    }
  }
};

TEST_F(SharedObject, ExportsExactlyTheNamesOfTheTable) {
  std::multimap<std::string, std::string> exported = ExportedSymbols();
  ASSERT_FALSE(exported.empty());
  for (const TableRow& row : ReadExportTable()) {
    const auto found = exported.find(row.name);
    EXPECT_NE(found, exported.end()) << "not exported: " << row.name;
    if (found != exported.end()) exported.erase(found);
  }
  for (const auto& [name, symbol] : exported) ADD_FAILURE() << "exported, too: " << name;
}

TEST_F(SharedObject, NeedsTheCAndMathematicsLibrariesOnly) {
  EXPECT_EQ(LinesOf("readelf -dW " VEL_PLUGIN
                    " | sed -n 's/.*(NEEDED).*\\[\\(.*\\)\\]/\\1/p' | LC_ALL=C sort"),
            (std::vector<std::string>{"libc.so.6", "libm.so.6"}));
}

}  // namespace
