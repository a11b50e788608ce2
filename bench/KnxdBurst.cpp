// Sends a burst of group writes through knxd as fast as it takes them, for the monitor's
// throughput figure (bench/knxd-monitor-throughput.sh):
//   knxd_burst URL COUNT
// The telegrams cycle through the addresses of tests/ervom/knxd/export.csv: a temperature, a
// switch, a position and an address without a DPT.
#include <eibclient.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cerrno>
#include <cstdint>

namespace {

struct Telegram {
    eibaddr_t groupAddress;
    int length;
    std::uint8_t apdu[4];
};

// 1/2/3 = 0x0A03: 9.001 21 °C; 1/1/1 = 0x0901: 1.001 on (short form); 1/1/4 = 0x0904: 5.001 0x80;
// 1/1/7 = 0x0907: no DPT in the export.
const Telegram Burst[] = {
    {0x0A03, 4, {0x00, 0x80, 0x0C, 0x1A}},
    {0x0901, 2, {0x00, 0x81, 0, 0}},
    {0x0904, 3, {0x00, 0x80, 0x80, 0}},
    {0x0907, 3, {0x00, 0x80, 0x2A, 0}},
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s URL COUNT\n", argv[0]);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    const long count = std::strtol(argv[2], nullptr, 10);
    EIBConnection* connection = EIBSocketURL(argv[1]);
    if (!connection || EIBOpen_GroupSocket(connection, 1) == -1) {
        std::fprintf(stderr, "cannot open a group socket on %s: %s\n", argv[1], std::strerror(errno));
        return 1;
    }
    for (long i = 0; i < count; ++i) {
        const Telegram& telegram = Burst[i % (sizeof Burst / sizeof Burst[0])];
        if (EIBSendGroup(connection, telegram.groupAddress, telegram.length, telegram.apdu) == -1) {
            std::fprintf(stderr, "send %ld failed: %s\n", i, std::strerror(errno));
            return 1;
        }
    }
    EIBClose(connection);
    return 0;
}
