#pragma once
// Value types: a type lists its fields once and everything else derives from that list.
//
//   class Epoch {
//     public:
//       static constexpr std::string_view typeName = "Sondar::Epoch";
//       static constexpr auto fields() {
//           return std::tuple{Rix::field("seconds", &Epoch::seconds_),
//                             Rix::field("useconds", &Epoch::useconds_)};
//       }
//       void validate() const;            // optional: the type's own rule, run by every reader
//       RIX_VALUE(Epoch)
//       friend bool operator==(const Epoch&, const Epoch&) = default;
//       friend auto operator<=>(const Epoch&, const Epoch&) = default;   // unless it orders otherwise
//     private:
//       U32 seconds_ = 0;
//       U32 useconds_ = 0;
//   };
//
// RIX_VALUE gives the type operator! (equal to the default), stream output of the text form, the
// text form "Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 0})" and its parsing
// constructor T(pos, end), the attribute-log writer and the reading constructor T(In*, StreamBogon).
// A type with `static constexpr bool bareText = true` and one field is written as that field
// alone (single-value wrappers such as a rate or a table key).
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "Rix/NboAttrLog.h"
#include "Rix/Strep.h"

namespace Rix {

template <class C, class M>
struct Field {
    using Class = C;
    using Type = M;
    const char* name;
    M C::*member;
};

template <class C, class M>
constexpr Field<C, M> field(const char* name, M C::*member) {
    return Field<C, M>{name, member};
}

template <class T>
concept ValueType = requires {
    { T::typeName } -> std::convertible_to<std::string_view>;
    T::fields();
};

template <class T>
constexpr bool isBareText() {
    if constexpr (requires { T::bareText; }) return T::bareText;
    else return false;
}

template <class T, class F>
constexpr void forEachField(F&& f) {
    std::apply([&](const auto&... fld) { (f(fld), ...); }, T::fields());
}

template <class T>
void valueValidate(const T& v) {
    if constexpr (requires { v.validate(); }) v.validate();
}

template <ValueType T>
String8 valueStrep(const T& v) {
    if constexpr (isBareText<T>()) {
        static_assert(std::tuple_size_v<decltype(T::fields())> == 1, "a bare text form has one field");
        return valueToStrep(v.*(std::get<0>(T::fields()).member));
    } else {
        std::string s = "Value('";
        s += T::typeName;
        s += "', ** {";
        bool first = true;
        forEachField<T>([&](const auto& fld) {
            if (!first) s += ", ";
            first = false;
            s += '\'';
            s += fld.name;
            s += "': ";
            s += valueToStrep(v.*(fld.member)).str();
        });
        s += "})";
        return String8(std::move(s));
    }
}

template <ValueType T>
T valueParse(StrepPos& pos, const StrepPos& end) {
    T v{};
    if constexpr (isBareText<T>()) {
        const auto fld = std::get<0>(T::fields());  // a copy: fields() returns a temporary
        using M = typename std::remove_cvref_t<decltype(fld)>::Type;
        v.*(fld.member) = sequenceToValue<M>(pos, end);
    } else {
        const std::string_view bare = bareTypeName(T::typeName);
        needString(pos, end, " Value");
        needString(pos, end, " (");
        needString(pos, end, " '" + std::string(T::typeName) + "'");
        needString(pos, end, " ,");
        needString(pos, end, " **");
        needString(pos, end, " {");
        for (bool first = true;; first = false) {
            skipSpace(pos, end);
            if (pos == end) {
                throw RangeException("premature end of value type " + std::string(bare));
            }
            if (*pos == '}') break;
            if (!first) needString(pos, end, ", ");
            const String8 name = sequenceToValue<String8>(pos, end);
            needString(pos, end, " : ");
            bool matched = false;
            forEachField<T>([&](const auto& fld) {
                if (matched || name.view() != fld.name) return;
                using M = typename std::remove_cvref_t<decltype(fld)>::Type;
                v.*(fld.member) = sequenceToValue<M>(pos, end);
                matched = true;
            });
            if (!matched) {
                throw RangeException(std::string(bare) + " has no such attribute: " + name.str());
            }
        }
        needString(pos, end, "} ");
        needString(pos, end, ") ");
    }
    valueValidate(v);
    return v;
}

template <ValueType T>
void valueNboWrite(NboAttrLog::Out& o, const T& v) {
    forEachField<T>([&](const auto& fld) { nboWrite(o, v.*(fld.member)); });
}

template <ValueType T>
T valueNboRead(NboAttrLog::In& in) {
    T v{};
    forEachField<T>([&](const auto& fld) {
        using M = typename std::remove_cvref_t<decltype(fld)>::Type;
        v.*(fld.member) = nboRead<M>(in);
    });
    valueValidate(v);
    return v;
}

}  // namespace Rix

#define RIX_VALUE(T)                                                                              \
    T(::Rix::StrepPos& rixPos_, const ::Rix::StrepPos& rixEnd_)                                   \
        : T(::Rix::valueParse<T>(rixPos_, rixEnd_)) {}                                            \
    T(::Rix::NboAttrLog::In* rixIn_, ::Rix::StreamBogon) : T(::Rix::valueNboRead<T>(*rixIn_)) {}  \
    friend bool operator!(const T& rixV_) { return rixV_ == T(); }                                \
    friend ::Rix::String8 valueToStrep(const T& rixV_) { return ::Rix::valueStrep(rixV_); }       \
    friend std::ostream& operator<<(std::ostream& rixOs_, const T& rixV_) {                       \
        return rixOs_ << ::Rix::valueStrep(rixV_);                                                \
    }                                                                                             \
    friend void nboWrite(::Rix::NboAttrLog::Out& rixOut_, const T& rixV_) {                       \
        ::Rix::valueNboWrite(rixOut_, rixV_);                                                     \
    }

// The field list written once, as an X-macro of (type, name, initial value, access), generates the
// data members (name_), the readers name(), the writers nameIs(v) where access is `rw` (`ro` leaves
// the writer to be written by hand, for a field with a rule or an operation of its own), and
// fields(). Together with the type name and RIX_VALUE:
//
//   #define SONDAR_EPOCH_SESSION_FIELDS(X) X(Epoch, epoch, {}, rw) X(U64, maxSeqNumRecvd, 0, rw) ...
//   class EpochSession { RIX_VALUE_TYPE(EpochSession, "Sondar::EpochSession", SONDAR_..._FIELDS) ... };
#define RIX_FIELD_MEMBER_(type, name, init, access) type name##_ = init;
#define RIX_FIELD_TUPLE_(type, name, init, access) , std::tuple{::Rix::field(#name, &RixSelf_::name##_)}
#define RIX_FIELD_GET_(type, name) \
    const type& name() const noexcept { return name##_; }
#define RIX_FIELD_SET_rw(type, name) \
    void name##Is(const type& v) { name##_ = v; }
#define RIX_FIELD_SET_ro(type, name)
#define RIX_FIELD_ACCESSORS_(type, name, init, access) \
    RIX_FIELD_GET_(type, name) RIX_FIELD_SET_##access(type, name)

#define RIX_VALUE_FIELDS(T, LIST)                                      \
  public:                                                              \
    LIST(RIX_FIELD_ACCESSORS_)                                         \
    static constexpr auto fields() {                                   \
        using RixSelf_ = T;                                            \
        return std::tuple_cat(std::tuple<>{} LIST(RIX_FIELD_TUPLE_));  \
    }                                                                  \
                                                                       \
  private:                                                             \
    LIST(RIX_FIELD_MEMBER_)                                            \
                                                                       \
  public:

#define RIX_VALUE_TYPE(T, qualifiedName, LIST)                 \
  public:                                                      \
    static constexpr std::string_view typeName = qualifiedName; \
    RIX_VALUE_FIELDS(T, LIST)                                  \
    RIX_VALUE(T)

namespace Rix {

// An ordering by a fixed priority list of fields: the first listed field that differs decides;
// when all listed fields are equal, neither value is less.
template <class T, class... M>
bool lessByPriority(const T& a, const T& b, M T::*... members) {
    bool decided = false;
    bool less = false;
    ((decided || (a.*members == b.*members) ? void() : (decided = true, less = a.*members < b.*members, void())),
     ...);
    return less;
}

}  // namespace Rix
