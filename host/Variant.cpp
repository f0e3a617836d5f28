// Device-information values and the process-wide map.
#include "orva/platform.h"

namespace orva::variant {

namespace {
bool isMap(VariantType type) { return type == VT_MAP || type == VT_MAP_ORDERED; }
bool isInteger(VariantType type) { return (type & 0x4000u) != 0; }
bool isSigned(VariantType type) { return type == VT_INT8 || type == VT_INT32 || type == VT_INT64; }
}  // namespace

Variant::Variant() : type_(VT_NULL), bits_(0), map_(nullptr), array_(nullptr) {}

Variant::Variant(const Variant& other) : Variant() { *this = other; }

Variant& Variant::operator=(const Variant& other) {
    if (this == &other) return *this;
    Map* map = other.map_ ? new Map(*other.map_) : nullptr;
    Array* array = other.array_ ? new Array(*other.array_) : nullptr;
    Free();
    type_ = other.type_;
    bits_ = other.bits_;
    text_ = other.text_;
    map_ = map;
    array_ = array;
    return *this;
}

Variant::~Variant() { Free(); }

void Variant::Free() {
    delete map_;
    delete array_;
    map_ = nullptr;
    array_ = nullptr;
    text_.clear();
    bits_ = 0;
    type_ = VT_NULL;
}

void Variant::IsArray(bool array) {
    Free();
    if (array) {
        type_ = VT_ARRAY;
        array_ = new Array();
    } else {
        type_ = VT_MAP;
        map_ = new Map();
    }
}

Variant& Variant::operator=(bool value) {
    Free();
    type_ = VT_BOOL;
    bits_ = value ? 1 : 0;
    return *this;
}

#define ORVA_VARIANT_ASSIGN(TYPE, TAG)                                            \
    Variant& Variant::operator=(TYPE value) {                                     \
        Free();                                                                   \
        type_ = (TAG);                                                            \
        bits_ = static_cast<unsigned long long>(static_cast<long long>(value));   \
        return *this;                                                             \
    }
ORVA_VARIANT_ASSIGN(signed char, VT_INT8)
ORVA_VARIANT_ASSIGN(int, VT_INT32)
ORVA_VARIANT_ASSIGN(long long, VT_INT64)
ORVA_VARIANT_ASSIGN(long, sizeof(long) == 8 ? VT_INT64 : VT_INT32)
#undef ORVA_VARIANT_ASSIGN

Variant& Variant::operator=(unsigned int value) {
    Free();
    type_ = VT_UINT32;
    bits_ = value;
    return *this;
}

Variant& Variant::operator=(unsigned long value) {
    Free();
    type_ = sizeof(long) == 8 ? VT_UINT64 : VT_UINT32;
    bits_ = value;
    return *this;
}

Variant& Variant::operator=(unsigned long long value) {
    Free();
    type_ = VT_UINT64;
    bits_ = value;
    return *this;
}

Variant& Variant::operator=(const std::string& value) {
    Free();
    type_ = VT_STRING;
    text_ = value;
    return *this;
}

Variant& Variant::operator=(const char* value) { return *this = std::string(value ? value : ""); }

Variant& Variant::operator[](const std::string& key) {
    if (!isMap(type_)) IsArray(false);
    return (*map_)[key];
}

Variant& Variant::operator[](const char* key) { return (*this)[std::string(key)]; }

bool Variant::HasKey(const std::string& key) const { return isMap(type_) && map_->count(key) != 0; }

const Variant::Map& Variant::mapValue() const {
    static const Map empty;
    return isMap(type_) ? *map_ : empty;
}

Variant::operator VariantType() const { return type_; }

Variant::operator bool() const {
    if (type_ == VT_STRING) return !text_.empty();
    if (isMap(type_)) return !map_->empty();
    if (type_ == VT_ARRAY) return !array_->empty();
    return bits_ != 0;
}

Variant::operator signed char() const {
    if (type_ == VT_BOOL || isInteger(type_)) return static_cast<signed char>(bits_ & 0xFF);
    return 0;
}

Variant::operator unsigned long long() const {
    if (type_ == VT_BOOL || isInteger(type_)) {
        if (isSigned(type_) && type_ != VT_INT64) {
            return static_cast<unsigned long long>(static_cast<long long>(bits_));
        }
        return bits_;
    }
    return 0;
}

Variant& CameraInfo::instance() {
    static Variant info;
    return info;
}

}  // namespace orva::variant
