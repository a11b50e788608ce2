// Erv::MeasureDuration: logs how long a scope took, measured with a CPU timer.
//
//   {
//       Erv::MeasureDuration measure("Decoding a KNX value took ", 100000000); // 100 ms
//       ...
//   } // logs at INFO only if the scope took 100 ms or more
//
// With a threshold, nothing is logged below it and the label plus the timer's report (wall, user,
// system and total CPU time, six decimals) is logged at INFO at or above it; without a threshold
// the same text is logged at DEBUG, and only built when DEBUG is enabled.
#pragma once

#include "ErvLogging/Logging.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

namespace Erv {

class MeasureDuration {
public:
    // The label is not copied: pass a string literal or a text that outlives the measurement.
    explicit MeasureDuration(const char* label) : m_label(label) {}
    MeasureDuration(const char* label, boost::timer::nanosecond_type thresholdNs)
        : m_label(label), m_threshold(thresholdNs)
    {
    }
    MeasureDuration(const MeasureDuration&) = delete;
    MeasureDuration& operator=(const MeasureDuration&) = delete;

    ~MeasureDuration()
    {
        const boost::timer::cpu_times elapsed = m_timer.elapsed();
        if (!m_threshold) {
            ERV_LOG_DEBUG(m_label << Report(elapsed));
        } else if (elapsed.wall >= *m_threshold) {
            ERV_LOG_INFO(m_label << Report(elapsed));
        }
    }

private:
    // The timer's standard report without its leading blank and trailing line break.
    static std::string Report(const boost::timer::cpu_times& elapsed)
    {
        return boost::algorithm::trim_copy(boost::timer::format(elapsed, 6));
    }

    const char* m_label;
    boost::optional<boost::timer::nanosecond_type> m_threshold;
    boost::timer::cpu_timer m_timer; // last, so that it starts after the other members are set
};

} // namespace Erv
