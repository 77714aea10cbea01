// Stands in for the game when starts are measured: writes the time of its own start to the file
// that BENCH_CLIENT_FILE names and ends. It links nothing that would take time to load.

#include <cstdio>
#include <cstdlib>
#include <ctime>

int main()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const char* path = std::getenv("BENCH_CLIENT_FILE");
    std::FILE* file = path ? std::fopen(path, "w") : nullptr;
    if (!file)
        return 1;
    std::fprintf(file, "%lld\n", static_cast<long long>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
    return std::fclose(file) == 0 ? 0 : 1;
}
