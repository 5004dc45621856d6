// A service family's table of system calls: bound to the real functions, and replaceable
// by a test with a recording fake, so that a test sees exactly what the system would see.
#pragma once

namespace mediakit {

template <class Calls>
class CallTable {
public:
    explicit constexpr CallTable(const Calls* real) : real_(real), active_(real) {}

    const Calls& get() const { return *active_; }

    /// nullptr restores the real functions.
    void set_for_test(const Calls* calls) { active_ = calls ? calls : real_; }

private:
    const Calls* real_;
    const Calls* active_;
};

}  // namespace mediakit
