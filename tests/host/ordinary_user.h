#pragma once

#include <unistd.h>

/// While it lives, this process may open no more files than an ordinary user may, also where root runs the
/// tests.
class OrdinaryUser {
public:
  OrdinaryUser() : was_root_(geteuid() == 0) {
    constexpr uid_t kNobody = 65534;
    is_ordinary_ = !was_root_ || seteuid(kNobody) == 0;
  }
  ~OrdinaryUser() {
    if (was_root_ && seteuid(0) != 0) _exit(1);
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  bool IsOrdinary() const { return is_ordinary_; }

private:
  bool was_root_, is_ordinary_;
};
