#pragma once

namespace velpicture {

/// Does something when the scope ends, unless dismissed, also when a host call throws through it.
/// What it does may call the host, so its destructor is not noexcept.
template <class Action>
class ScopeExit {
 public:
  explicit ScopeExit(Action action) : action_(action) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() noexcept(false) {
    if (isDue_) action_();
  }
  void Dismiss() { isDue_ = false; }

 private:
  Action action_;
  bool isDue_ = true;
};

}  // namespace velpicture
