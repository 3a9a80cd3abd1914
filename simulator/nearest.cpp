#include "simulator/nearest.h"

#include <strings.h>

#include <numeric>
#include <utility>
#include <vector>

namespace sim {

size_t Distance(std::string_view left, std::string_view right) {
  std::vector<size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (const char letter : left) {
    size_t above = row[0]++;
    for (size_t i = 0; i < right.size(); ++i) {
      const bool same = strncasecmp(&letter, &right[i], 1) == 0;
      const size_t change = std::exchange(above, row[i + 1]) + (same ? 0 : 2);
      row[i + 1] = std::min({change, above + 1, row[i] + 1});
    }
  }
  return row.back();
}

}  // namespace sim
