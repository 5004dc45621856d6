// Tables of system calls, one per system DLL, each declared from one list of function names.
// Every member has the type of the system's own declaration, so no prototype is written by
// hand. The Win32 layer calls the system only through these tables; a test may replace any
// single member with a recording fake and put the system's function back afterwards.
//
// A table is declared in its DLL's header from an X-macro list:
//
//     #define MK_GDI32_CALLS(X) X(BitBlt) X(CreateCompatibleDC)
//     MK_CALL_TABLE(Gdi32Calls, gdi32, MK_GDI32_CALLS)
//
// and defined once, in call_tables_win32.cpp, with MK_DEFINE_CALL_TABLE. The library then
// calls gdi32().BitBlt(...). Each system function is listed in the table of the DLL that
// exports it, and only there.
#pragma once

#include <type_traits>

namespace mediakit {

/// The functions of one system DLL: those of the system, and those in use.
template <class Calls>
struct CallTable {
    const Calls system;
    Calls active;
};

/// Defined for each table by MK_DEFINE_CALL_TABLE.
template <class Calls>
CallTable<Calls>& call_table();

}  // namespace mediakit

#define MK_CALL_MEMBER(name) decltype(&::name) name;
#define MK_CALL_VISIT(name) visit(std::integral_constant<decltype(&Self::name), &Self::name>{}, #name);
#define MK_CALL_SYSTEM(name) &::name,

/// Declares the struct `Calls` of the listed functions and `accessor()`, the table in use.
/// `Calls::for_each(visit)` calls visit(member, "name") for each member, where member is a
/// std::integral_constant holding the pointer to that member.
#define MK_CALL_TABLE(Calls, accessor, LIST)                                       \
    struct Calls {                                                                 \
        using Self = Calls;                                                        \
        LIST(MK_CALL_MEMBER)                                                       \
        template <class Visit>                                                     \
        static void for_each(Visit&& visit) {                                      \
            LIST(MK_CALL_VISIT)                                                    \
        }                                                                          \
    };                                                                             \
    template <>                                                                    \
    CallTable<Calls>& call_table<Calls>();                                         \
    inline const Calls& accessor() { return call_table<Calls>().active; }

/// Binds a table to the system's functions. Made on first use, so that calls made while
/// other static objects are constructed find it ready.
#define MK_DEFINE_CALL_TABLE(Calls, LIST)                                          \
    template <>                                                                    \
    CallTable<Calls>& call_table<Calls>() {                                        \
        static CallTable<Calls> table{{LIST(MK_CALL_SYSTEM)}, {LIST(MK_CALL_SYSTEM)}}; \
        return table;                                                              \
    }
