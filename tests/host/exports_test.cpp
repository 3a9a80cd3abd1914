// What the shared object exports and needs, name by name.

#include "tests/host/exports.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>

namespace {

const std::filesystem::path kProject = VEL_PROJECT;

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

// Its table rows: the header, the names that it declares, and what they do.
TEST(SupportPage, NamesEveryExportBesideItsHeader) {
  std::set<std::string> named;
  std::ifstream page(kProject / "docs/support.md");
  const std::regex row(R"(\| `(\w+/\w+\.h)` \| ([^|]*) \|.*)"), name("`(?:\\w+::)*([^`]+)`");
  for (std::string line; std::getline(page, line);) {
    std::smatch cells;
    if (!std::regex_match(line, cells, row)) continue;
    std::stringstream header;
    header << std::ifstream(kProject / cells.str(1)).rdbuf();
    const std::string names = cells[2];
    for (std::sregex_iterator it(names.begin(), names.end(), name), end; it != end; ++it) {
      EXPECT_TRUE(std::regex_search(header.str(), std::regex("\\b" + it->str(1) + "\\b")))
          << cells[1] << " does not declare " << it->str(1);
      named.insert(it->str());
    }
  }
  for (const TableRow& exported : ReadExportTable()) {
    // Without its parameters; what makes, copies and destroys an object goes by its class.
    const std::string plain = std::regex_replace(
        exported.name, std::regex(R"(\(.*|::(rbText|rbData|~\w+|operator=)\(.*)"), "");
    EXPECT_TRUE(named.contains("`" + plain + "`")) << "docs/support.md lacks " << exported.name;
  }
}

TEST_F(SharedObject, NeedsTheCAndMathematicsLibrariesOnly) {
  EXPECT_EQ(LinesOf("readelf -dW " VEL_PLUGIN
                    " | sed -n 's/.*(NEEDED).*\\[\\(.*\\)\\]/\\1/p' | LC_ALL=C sort"),
            (std::vector<std::string>{"libc.so.6", "libm.so.6"}));
}

}  // namespace
