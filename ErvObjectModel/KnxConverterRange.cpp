#include "ErvObjectModel/KnxConverter.h"

#include "ErvLogging/Logging.h"

#include <algorithm>
#include <limits>
#include <sstream>

namespace Erv {

namespace {
// The low 32 bits of a bound, read as signed: what the long range's messages print.
std::int32_t Low32(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

// Width of a 64-bit interval, wrapping instead of overflowing.
std::int64_t WrappingWidth(std::int64_t min, std::int64_t max)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min));
}

template <class Range>
std::string Format(const char* word, const Range& range)
{
    std::ostringstream text;
    text << word << '(' << range.GetInternalMin() << ", " << range.GetInternalMax() << ", " << range.GetExternalMin()
         << ", " << range.GetExternalMax() << ')';
    return text.str();
}

// The words a range class's messages use for its two intervals, and how the combined message
// joins them. The second join lacks an "of": long-standing message text, kept as it is.
struct ScaleFactorWords {
    const char* internal;
    const char* external;
    const char* join;
};
constexpr ScaleFactorWords IntegerWords{"internal", "external", "] or because of invalid "};
constexpr ScaleFactorWords FloatIntegerWords{"double", "integer", "] or because invalid "};
constexpr ScaleFactorWords FloatWords{"double", "external", "] or because invalid "};

// The one algorithm of all four classes: an empty interval is logged and leaves the factor as it
// was; a factor of exactly 0.0 (an infinite or underflowing width) falls back to 1.0, logged.
// Widths come in as doubles; a non-zero integer width stays non-zero when converted.
template <class Internal, class External>
void ApplyScaleFactor(const char* function, const ScaleFactorWords& words, double internalWidth, double externalWidth,
                      Internal internalMin, Internal internalMax, External externalMin, External externalMax,
                      double& scaleFactor)
{
    if (internalWidth == 0.0) {
        ERV_LOG_AS(log4cplus::ERROR_LOG_LEVEL, function,
                   "Failed to calculate the scale factor because of invalid "
                       << words.internal << " range [" << internalMin << ", " << internalMax << "].");
        return;
    }
    if (externalWidth == 0.0) {
        ERV_LOG_AS(log4cplus::ERROR_LOG_LEVEL, function,
                   "Failed to calculate the scale factor because of invalid "
                       << words.external << " range [" << externalMin << ", " << externalMax << "].");
        return;
    }
    const double factor = externalWidth / internalWidth;
    if (factor != 0.0) {
        scaleFactor = factor;
        return;
    }
    scaleFactor = 1.0;
    ERV_LOG_AS(log4cplus::ERROR_LOG_LEVEL, function,
               "Failed to calculate the scale factor because of invalid "
                   << words.internal << " range [" << internalMin << ", " << internalMax << words.join << words.external
                   << " range [" << externalMin << ", " << externalMax << "].");
}
} // namespace

IntegerRange::IntegerRange(std::int32_t internalMin, std::int32_t internalMax, std::int32_t externalMin,
                           std::int32_t externalMax)
    : RangeBounds(internalMin, internalMax, externalMin, externalMax)
{
    CalculateScaleFactor();
}

void IntegerRange::CalculateScaleFactor()
{
    ApplyScaleFactor(__PRETTY_FUNCTION__, IntegerWords,
                     static_cast<double>(std::int64_t{m_internalMax} - m_internalMin),
                     static_cast<double>(std::int64_t{m_externalMax} - m_externalMin), m_internalMin, m_internalMax,
                     m_externalMin, m_externalMax, m_scaleFactor);
}

LongIntegerRange::LongIntegerRange(std::int64_t internalMin, std::int64_t internalMax, std::int64_t externalMin,
                                   std::int64_t externalMax)
    : RangeBounds(internalMin, internalMax, externalMin, externalMax)
{
    CalculateScaleFactor();
}

// Deliberately, the messages print only the low 32 bits of each bound; ToString prints them whole.
void LongIntegerRange::CalculateScaleFactor()
{
    ApplyScaleFactor(__PRETTY_FUNCTION__, IntegerWords,
                     static_cast<double>(WrappingWidth(m_internalMin, m_internalMax)),
                     static_cast<double>(WrappingWidth(m_externalMin, m_externalMax)), Low32(m_internalMin),
                     Low32(m_internalMax), Low32(m_externalMin), Low32(m_externalMax), m_scaleFactor);
}

FloatIntegerRange::FloatIntegerRange()
    : FloatIntegerRange(-671088.64, 670760.96, std::numeric_limits<std::int32_t>::min(),
                        std::numeric_limits<std::int32_t>::max())
{
}

FloatIntegerRange::FloatIntegerRange(double internalMin, double internalMax, std::int32_t externalMin,
                                     std::int32_t externalMax)
    : RangeBounds(internalMin, internalMax, externalMin, externalMax)
{
    CalculateScaleFactor();
}

void FloatIntegerRange::CalculateScaleFactor()
{
    ApplyScaleFactor(__PRETTY_FUNCTION__, FloatIntegerWords, m_internalMax - m_internalMin,
                     static_cast<double>(std::int64_t{m_externalMax} - m_externalMin), m_internalMin, m_internalMax,
                     m_externalMin, m_externalMax, m_scaleFactor);
}

FloatRange::FloatRange(double internalMin, double internalMax, double externalMin, double externalMax)
    : RangeBounds(internalMin, internalMax, externalMin, externalMax)
{
    CalculateScaleFactor();
}

// Widths without sign: a reversed interval still gives a positive factor, unlike the other ranges.
void FloatRange::CalculateScaleFactor()
{
    ApplyScaleFactor(__PRETTY_FUNCTION__, FloatWords,
                     std::max(m_internalMin, m_internalMax) - std::min(m_internalMin, m_internalMax),
                     std::max(m_externalMin, m_externalMax) - std::min(m_externalMin, m_externalMax), m_internalMin,
                     m_internalMax, m_externalMin, m_externalMax, m_scaleFactor);
}

std::string ToString(const IntegerRange& range) { return Format("IntegerRange", range); }
// Deliberately the same word as the 32-bit range.
std::string ToString(const LongIntegerRange& range) { return Format("IntegerRange", range); }
std::string ToString(const FloatIntegerRange& range) { return Format("FloatIntegerRange", range); }
std::string ToString(const FloatRange& range) { return Format("FloatRange", range); }

} // namespace Erv
