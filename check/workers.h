#pragma once

// Work shared among processes: each takes the next piece when it is done with one.

#include <functional>
#include <string>
#include <vector>

namespace check {

/// The results of work(0) to work(count - 1), in this order, each run in one of `processes`
/// children of this process. `done` is called here after each. Throws std::runtime_error when a
/// child was lost with its work.
std::vector<std::string> RunShared(size_t count, int processes,
                                   const std::function<std::string(size_t)>& work,
                                   const std::function<void()>& done);

}  // namespace check
