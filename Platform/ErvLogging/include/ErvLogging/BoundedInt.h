// A strong integer type whose value lies in [Min, Max]. Tag makes otherwise equal instantiations
// distinct types. The bound is checked wherever a raw number comes in, so every holder of a
// BoundedInt may rely on it:
//   BoundedInt<int, 1, 2, Tag>::Of<2>()          checked at compile time
//   BoundedInt<int, 1, 2, Tag>::Create(raw)      empty optional when raw is outside
//   BoundedInt<int, 1, 2, Tag>(raw)              ends the process (ERV_ASSERT2) when outside
#pragma once

#include "ErvLogging/Assert.h"

#include <boost/optional.hpp>

#include <ostream>

namespace Erv {

template <class T, T Min, T Max, class Tag>
class BoundedInt {
    static_assert(Min <= Max, "empty bound");

public:
    using ValueType = T;
    static constexpr T MinValue = Min;
    static constexpr T MaxValue = Max;

    explicit BoundedInt(T value) : m_value(value) { ERV_ASSERT2(Min <= value && value <= Max); }

    template <T Value>
    static constexpr BoundedInt Of()
    {
        static_assert(Min <= Value && Value <= Max, "value outside the bound");
        return BoundedInt(Value, Unchecked{});
    }

    static boost::optional<BoundedInt> Create(T value)
    {
        if (value < Min || value > Max)
            return boost::none;
        return BoundedInt(value, Unchecked{});
    }

    constexpr T Get() const { return m_value; }

    constexpr bool operator==(const BoundedInt& other) const { return m_value == other.m_value; }
    constexpr bool operator!=(const BoundedInt& other) const { return m_value != other.m_value; }
    constexpr bool operator<(const BoundedInt& other) const { return m_value < other.m_value; }

private:
    struct Unchecked {};
    constexpr BoundedInt(T value, Unchecked) : m_value(value) {}

    T m_value;
};

template <class T, T Min, T Max, class Tag>
std::ostream& operator<<(std::ostream& os, const BoundedInt<T, Min, Max, Tag>& value)
{
    return os << value.Get();
}

} // namespace Erv
