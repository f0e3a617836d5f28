// Where a virtual function sits in its class's vtable, and where a data member sits in its object,
// read from the Itanium C++ ABI encodings of pointers to members. Clients compiled against our
// headers call through these slots and offsets, so they must not move.
#pragma once

#include <cstddef>
#include <cstring>

namespace orva::test::abi {

// A pointer to member function is {ptr, adj}. Two encodings of a virtual function exist:
// - generic (x86-64, ...): ptr = 1 + byte offset of the slot in the vtable, adj = this adjustment;
// - ARM and AArch64 (code addresses may be odd, Thumb): ptr = byte offset of the slot,
//   adj = 2 * this adjustment + 1.
struct MemberFunctionRepresentation {
    std::ptrdiff_t ptr;
    std::ptrdiff_t adj;
};

template <typename Pmf>
MemberFunctionRepresentation representationOf(Pmf pmf) {
    static_assert(sizeof(Pmf) == sizeof(MemberFunctionRepresentation), "not an Itanium C++ ABI member pointer");
    MemberFunctionRepresentation representation{};
    std::memcpy(&representation, &pmf, sizeof(representation));
    return representation;
}

// A class whose only virtual function is in slot 0: its pointer tells the two encodings apart.
struct EncodingProbe {
    virtual void first() {}
};

// Whether this target flags virtual member pointers in adj (ARM) rather than in ptr.
inline bool virtualFlagInAdjustment() {
    const MemberFunctionRepresentation probe = representationOf(&EncodingProbe::first);
    return probe.ptr == 0 && probe.adj == 1;
}

// Vtable slot of a virtual member function (counted from the first function entry, so a virtual
// destructor takes slots 0 and 1), or -1 when it is not virtual.
template <typename Pmf>
std::ptrdiff_t slotIndex(Pmf pmf) {
    const MemberFunctionRepresentation representation = representationOf(pmf);
    const auto word = static_cast<std::ptrdiff_t>(sizeof(void*));
    if (virtualFlagInAdjustment()) {
        if ((representation.adj & 1) == 0) return -1;
        return representation.ptr / word;
    }
    if ((representation.ptr & 1) == 0) return -1;
    return (representation.ptr - 1) / word;
}

// Byte offset of a data member in its class: a pointer to data member holds exactly that.
template <typename Class, typename Member>
std::ptrdiff_t memberOffset(Member Class::*member) {
    static_assert(sizeof(member) == sizeof(std::ptrdiff_t), "not an Itanium C++ ABI data member pointer");
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &member, sizeof(offset));
    return offset;
}

// The first virtual function a class derived from Base adds lands right after Base's last slot,
// so its slot is the number of slots Base has.
template <typename Base>
struct Appended : Base {
    virtual void appendedSlot() {}
};

template <typename Base>
std::ptrdiff_t slotCount() {
    return slotIndex(&Appended<Base>::appendedSlot);
}

}  // namespace orva::test::abi
