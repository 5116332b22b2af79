#pragma once

#include <array>
#include <cstddef>

#include "du/Symbol.h"

namespace webapi::remote {

// One method of a remote interface.
struct MethodEntry {
    int id;                 // message id: the place in the declaration
    int index;              // place of the signature in the sorted list
    const char* signature;  // the method's identity across hosts
};

// What the remote boundary knows of interface I, filled from its method list:
//   static constexpr const char* kName;        the interface's name
//   static constexpr bool kOneWay;              no method awaits a reply
//   static constexpr MethodEntry kMethods[];    in declaration order
template <class I>
struct InterfaceTable;

template <class I>
constexpr int MethodCount() {
    return static_cast<int>(sizeof(InterfaceTable<I>::kMethods) / sizeof(MethodEntry));
}

// Byte-wise, so upper case sorts before "_" and "_" before lower case.
constexpr int CompareSignatures(const char* a, const char* b) {
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return static_cast<int>(static_cast<unsigned char>(*a)) - static_cast<int>(static_cast<unsigned char>(*b));
}

// The methods of I in the order of their signatures: the order in which the
// factory publishes them.
template <class I>
constexpr std::array<MethodEntry, MethodCount<I>()> SortedMethods() {
    std::array<MethodEntry, MethodCount<I>()> sorted{};
    for (int i = 0; i < MethodCount<I>(); ++i) {
        int j = i;
        for (; j > 0 && CompareSignatures(InterfaceTable<I>::kMethods[i].signature, sorted[j - 1].signature) < 0; --j)
            sorted[j] = sorted[j - 1];
        sorted[j] = InterfaceTable<I>::kMethods[i];
    }
    return sorted;
}

// The three identities of every method agree: ids follow the declaration,
// and each written index is the place that sorting gives.
template <class I>
constexpr bool IdentitiesAgree() {
    constexpr auto sorted = SortedMethods<I>();
    for (int i = 0; i < MethodCount<I>(); ++i) {
        if (InterfaceTable<I>::kMethods[i].id != i || sorted[i].index != i) return false;
    }
    return true;
}

// The answers of the managed-object face that name the one interface.
template <class I>
short BaseClassOffsetOf(const du::Symbol& name) {
    return name == InterfaceTable<I>::kName ? 0 : -1;
}

template <class I>
du::Symbol BaseClassOf(int index) {
    return index == 0 ? du::Symbol(InterfaceTable<I>::kName) : du::Symbol::EMPTY;
}

}  // namespace webapi::remote
