// Recording fakes of single system calls. A test replaces one function of a call table for
// as long as a Fake lives; the destructor puts back what was there, also when an assertion
// ends the test early. Every call made to the fake is logged, in order with the calls of the
// other fakes that share the log, from any thread: the function's name and its arguments,
// with what pointer arguments point at copied at the moment of the call.
//
//     mktest::CallLog log;
//     mktest::Fake<&mediakit::Gdi32Calls::BitBlt> bitblt(log, [](auto...) { return TRUE; });
//     FastBlt(...);
//     EXPECT_EQ(log.calls()[0].values(), (std::vector<int64_t>{...}));
//
// Without a handler a fake passes each call on to the system's function. StrictCalls makes
// every function of a table that the test did not fake fail the test with its name.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/call_table.h"

namespace mktest {

struct RecordedArg {
    uint64_t value = 0;          ///< the argument converted to 64 bits; pointers as addresses
    std::vector<uint8_t> block;  ///< what a pointer argument pointed at, at the call
    std::string text;            ///< the string of a const char* argument, at the call

    /// The block read as a T; zeros beyond the block, which fails the test.
    template <class T>
    T as() const {
        T t{};
        EXPECT_GE(block.size(), sizeof(T)) << "the recorded block is shorter than the record";
        std::memcpy(&t, block.data(), std::min(block.size(), sizeof(T)));
        return t;
    }
};

struct RecordedCall {
    std::string name;
    std::vector<RecordedArg> args;

    /// The arguments' values as signed numbers, for comparing whole calls with a table row.
    std::vector<int64_t> values() const;
};

/// The calls of every fake that shares it, in the order they were made.
class CallLog {
public:
    void add(RecordedCall call);
    std::vector<RecordedCall> calls() const;
    std::vector<RecordedCall> calls(const std::string& name) const;
    size_t count(const std::string& name) const;
    /// "nameA nameB ...", for failure messages.
    std::string names() const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<RecordedCall> calls_;
};

/// How many bytes to keep behind argument `index`, the call's arguments being recorded so
/// far: for blocks passed as untyped pointers or integers (a command's parameter block).
/// 0 keeps none.
using BlockRule = std::function<size_t(const RecordedCall& call, size_t index)>;

namespace detail {

template <class M>
struct MemberOf;
template <class C, class F>
struct MemberOf<F C::*> {
    using Class = C;
    using Type = F;
};

// Handles of the system's headers are pointers to structs with one member, `unused`; what
// they point at is not the program's memory.
template <class T, class = void>
struct IsHandleTarget : std::false_type {};
template <class T>
struct IsHandleTarget<T, std::void_t<decltype(&T::unused)>> : std::true_type {};

// A record passed by pointer is kept whole; a BITMAPINFO as its header, since the colour
// table that follows has a length of its own.
template <class T>
size_t record_bytes(const T*) {
    return sizeof(T);
}
inline size_t record_bytes(const BITMAPINFO*) { return sizeof(BITMAPINFOHEADER); }

template <class A>
RecordedArg record_arg(A a) {
    RecordedArg r;
    if constexpr (std::is_pointer_v<A>) {
        using Target = std::remove_pointer_t<A>;
        using T = std::remove_cv_t<Target>;
        r.value = reinterpret_cast<uintptr_t>(a);
        if constexpr (std::is_same_v<T, char>) {
            if (std::is_const_v<Target> && a && !IS_INTRESOURCE(a)) r.text = a;
        } else if constexpr (std::is_class_v<T> && !IsHandleTarget<T>::value) {
            const auto* p = reinterpret_cast<const uint8_t*>(a);
            if (p) r.block.assign(p, p + record_bytes(a));
        }
    } else if constexpr (std::is_integral_v<A> || std::is_enum_v<A>) {
        r.value = static_cast<uint64_t>(static_cast<int64_t>(a));
    } else {
        const auto* p = reinterpret_cast<const uint8_t*>(&a);
        r.block.assign(p, p + sizeof a);
    }
    return r;
}

}  // namespace detail

/// The name of a table member, as listed.
template <auto Member>
const char* call_name() {
    using Calls = typename detail::MemberOf<decltype(Member)>::Class;
    const char* found = "?";
    Calls::for_each([&](auto member, const char* name) {
        if constexpr (std::is_same_v<typename decltype(member)::value_type, decltype(Member)>) {
            if (decltype(member)::value == Member) found = name;
        }
    });
    return found;
}

template <auto Member, class Fn = typename detail::MemberOf<decltype(Member)>::Type>
class Fake;

template <auto Member, class R, class... A>
class Fake<Member, R(WINAPI*)(A...)> {
public:
    using Calls = typename detail::MemberOf<decltype(Member)>::Class;
    using Fn = R(WINAPI*)(A...);
    using Handler = std::function<R(A...)>;

    /// One fake of a function at a time.
    explicit Fake(CallLog& log, Handler handler = {}, BlockRule blocks = {}) : previous_(slot()) {
        EXPECT_EQ(state().log, nullptr) << "a second fake of " << call_name<Member>();
        state() = State{&log, std::move(handler), std::move(blocks)};
        slot() = &trampoline;
    }
    ~Fake() {
        slot() = previous_;
        state() = State{};
    }
    Fake(const Fake&) = delete;
    Fake& operator=(const Fake&) = delete;

    /// The system's own function, for handlers that pass a call on.
    static R system(A... a) { return (mediakit::call_table<Calls>().system.*Member)(a...); }

private:
    struct State {
        CallLog* log = nullptr;
        Handler handler;
        BlockRule blocks;
    };
    static State& state() {
        static State s;
        return s;
    }
    static Fn& slot() { return mediakit::call_table<Calls>().active.*Member; }

    static R WINAPI trampoline(A... a) {
        const State& s = state();
        RecordedCall call{call_name<Member>(), {detail::record_arg(a)...}};
        for (size_t i = 0; s.blocks && i < call.args.size(); ++i) {
            const size_t n = s.blocks(call, i);
            const auto* p = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(call.args[i].value));
            if (n && p) call.args[i].block.assign(p, p + n);
        }
        s.log->add(std::move(call));
        return s.handler ? s.handler(a...) : system(a...);
    }

    Fn previous_;
};

namespace detail {

template <auto Member, class Fn = typename MemberOf<decltype(Member)>::Type>
struct Unexpected;
template <auto Member, class R, class... A>
struct Unexpected<Member, R(WINAPI*)(A...)> {
    static R WINAPI call(A...) {
        ADD_FAILURE() << "unexpected call of " << call_name<Member>();
        return R();
    }
};

}  // namespace detail

/// While it lives, every function of the table fails the test with its name when called,
/// unless a Fake made after it answers the call.
template <class Calls>
class StrictCalls {
public:
    StrictCalls() : saved_(mediakit::call_table<Calls>().active) {
        Calls::for_each([](auto member, const char*) {
            constexpr auto m = decltype(member)::value;
            mediakit::call_table<Calls>().active.*m = &detail::Unexpected<m>::call;
        });
    }
    ~StrictCalls() { mediakit::call_table<Calls>().active = saved_; }
    StrictCalls(const StrictCalls&) = delete;
    StrictCalls& operator=(const StrictCalls&) = delete;

private:
    Calls saved_;
};

}  // namespace mktest
