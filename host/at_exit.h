#pragma once

namespace velpicture {

/// Does something when the scope ends, also when a host call throws through it. What it does may
/// call the host, so its destructor is not noexcept.
template <class Action>
class AtExit {
 public:
  explicit AtExit(Action action) : action_(action) {}
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;
  ~AtExit() noexcept(false) { action_(); }

 private:
  Action action_;
};

}  // namespace velpicture
