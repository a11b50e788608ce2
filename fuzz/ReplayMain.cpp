// Runs a fuzz target over saved inputs without libFuzzer, so that every compiler builds the targets
// and the test suite replays the seed corpus and every past finding:
//   <target> FILE_OR_FOLDER...
#include "FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool Replay(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...\n", argv[0]);
        return 2;
    }
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<fs::path> files;
        if (fs::is_directory(argv[i])) {
            for (const fs::directory_entry& entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else {
            files.emplace_back(argv[i]);
        }
        for (const fs::path& file : files) {
            if (!Replay(file))
                return 1;
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no inputs found\n");
        return 1;
    }
    std::printf("replayed %zu inputs\n", replayed);
    return 0;
}
