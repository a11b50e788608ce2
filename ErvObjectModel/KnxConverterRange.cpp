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
    text << word << '(' << range.GetInternalMin() << ", " << range.GetInternalMax() << ", "
         << range.GetExternalMin() << ", " << range.GetExternalMax() << ')';
    return text.str();
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
    const std::int64_t internalWidth = std::int64_t{m_internalMax} - m_internalMin;
    if (internalWidth == 0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                      << m_internalMin << ", " << m_internalMax << "].");
        return;
    }
    const std::int64_t externalWidth = std::int64_t{m_externalMax} - m_externalMin;
    if (externalWidth == 0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                      << m_externalMin << ", " << m_externalMax << "].");
        return;
    }
    const double factor = static_cast<double>(externalWidth) / static_cast<double>(internalWidth);
    if (factor != 0.0) {
        m_scaleFactor = factor;
        return;
    }
    // Cannot happen with non-zero integer widths; kept as a guard.
    m_scaleFactor = 1.0;
    ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                  << m_internalMin << ", " << m_internalMax << "] or because of invalid external range ["
                  << m_externalMin << ", " << m_externalMax << "].");
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
    const std::int64_t internalWidth = WrappingWidth(m_internalMin, m_internalMax);
    if (internalWidth == 0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                      << Low32(m_internalMin) << ", " << Low32(m_internalMax) << "].");
        return;
    }
    const std::int64_t externalWidth = WrappingWidth(m_externalMin, m_externalMax);
    if (externalWidth == 0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                      << Low32(m_externalMin) << ", " << Low32(m_externalMax) << "].");
        return;
    }
    const double factor = static_cast<double>(externalWidth) / static_cast<double>(internalWidth);
    if (factor != 0.0) {
        m_scaleFactor = factor;
        return;
    }
    m_scaleFactor = 1.0;
    ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid internal range ["
                  << Low32(m_internalMin) << ", " << Low32(m_internalMax)
                  << "] or because of invalid external range [" << Low32(m_externalMin) << ", "
                  << Low32(m_externalMax) << "].");
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
    const double internalWidth = m_internalMax - m_internalMin;
    if (internalWidth == 0.0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                      << m_internalMin << ", " << m_internalMax << "].");
        return;
    }
    const std::int64_t externalWidth = std::int64_t{m_externalMax} - m_externalMin;
    if (externalWidth == 0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid integer range ["
                      << m_externalMin << ", " << m_externalMax << "].");
        return;
    }
    const double factor = static_cast<double>(externalWidth) / internalWidth;
    if (factor != 0.0) {
        m_scaleFactor = factor;
        return;
    }
    // Reached when an infinite internal width makes the quotient 0. The second clause's missing
    // "of" is long-standing message text and is kept, here and in FloatRange.
    m_scaleFactor = 1.0;
    ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_internalMin << ", " << m_internalMax << "] or because invalid integer range ["
                  << m_externalMin << ", " << m_externalMax << "].");
}

FloatRange::FloatRange(double internalMin, double internalMax, double externalMin, double externalMax)
    : RangeBounds(internalMin, internalMax, externalMin, externalMax)
{
    CalculateScaleFactor();
}

// Widths without sign: a reversed interval still gives a positive factor, unlike the other ranges.
void FloatRange::CalculateScaleFactor()
{
    const double internalWidth = std::max(m_internalMin, m_internalMax) - std::min(m_internalMin, m_internalMax);
    if (internalWidth == 0.0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                      << m_internalMin << ", " << m_internalMax << "].");
        return;
    }
    const double externalWidth = std::max(m_externalMin, m_externalMax) - std::min(m_externalMin, m_externalMax);
    if (externalWidth == 0.0) {
        ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid external range ["
                      << m_externalMin << ", " << m_externalMax << "].");
        return;
    }
    const double factor = externalWidth / internalWidth;
    if (factor != 0.0) {
        m_scaleFactor = factor;
        return;
    }
    m_scaleFactor = 1.0;
    ERV_LOG_ERROR("Failed to calculate the scale factor because of invalid double range ["
                  << m_internalMin << ", " << m_internalMax << "] or because invalid external range ["
                  << m_externalMin << ", " << m_externalMax << "].");
}

std::string ToString(const IntegerRange& range) { return Format("IntegerRange", range); }
// Deliberately the same word as the 32-bit range.
std::string ToString(const LongIntegerRange& range) { return Format("IntegerRange", range); }
std::string ToString(const FloatIntegerRange& range) { return Format("FloatIntegerRange", range); }
std::string ToString(const FloatRange& range) { return Format("FloatRange", range); }

} // namespace Erv
