// The main of every test binary: FATAL lines also go to standard error, so that death tests can
// match what a dying process logged; nothing else is printed.
#include "ErvLogging/Logging.h"

#include <gmock/gmock.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/nullappender.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    log4cplus::Logger& logger = Erv::GetGlobalDefaultLogger();
    log4cplus::SharedAppenderPtr fatalToStderr(new log4cplus::ConsoleAppender(true, true));
    fatalToStderr->setLayout(std::make_unique<log4cplus::PatternLayout>("%m%n"));
    fatalToStderr->setThreshold(log4cplus::FATAL_LOG_LEVEL);
    logger.addAppender(fatalToStderr);
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    return RUN_ALL_TESTS();
}
