#include "figures.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2.0;
}

double steadyMilliseconds()
{
    const std::chrono::duration<double, std::milli> now = std::chrono::steady_clock::now().time_since_epoch();
    return now.count();
}

double processorMilliseconds()
{
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto milliseconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

void printFigure(const char *name, double value)
{
    std::printf("%s %.3f\n", name, value);
    std::fflush(stdout);
}
