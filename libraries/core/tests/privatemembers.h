#pragma once

#include <algorithm>
#include <functional>
#include <tuple>
#include <vector>

// The private data members of a class, which an explicit instantiation may name. At global scope:
//
//     struct FooMembers { friend auto membersOf(FooMembers); };
//     template struct ExposeMembers<FooMembers, &Foo::m_first, &Foo::m_second>;
template <class Tag, auto... pointers> struct ExposeMembers {
    friend auto membersOf(Tag) { return std::tuple(pointers...); }
};

// Whether the members lie in an object in the order in which they were named.
template <class Tag, class Object> [[nodiscard]] bool areMembersInOrder(const Object &object)
{
    const auto addresses = std::apply(
        [&object](const auto... pointers) {
            return std::vector<const void *>{static_cast<const void *>(&(object.*pointers))...};
        },
        membersOf(Tag()));
    // None of them twice.
    return std::adjacent_find(addresses.cbegin(), addresses.cend(), std::greater_equal<>())
        == addresses.cend();
}
