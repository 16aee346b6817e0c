// Runs a fixed workload and prints one JSON line with its times and memory, for comparison with
// other software. Loading the data is not timed.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

std::map<std::string, Setup> workloads() {
    std::map<std::string, Setup> all;
    addLeastSquares(all);
    addLogistic(all);
    addDistances(all);
    addNearestNeighbours(all);
    addDirections(all);
    addNaiveBayes(all);
    addTrees(all);
    addNetworks(all);
    addKMeans(all);
    addHierarchical(all);
    addArima(all);
    addRules(all);
    addSamples(all);
    addSmoothing(all);
    addSingularValues(all);
    addTexts(all);
    return all;
}

namespace {

constexpr const char* kName = "veltrix";

/// A field of the process's status, in MiB.
double statusMib(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(field)) return std::stod(line.substr(field.size() + 1)) / 1024.0;
    }
    return 0.0;
}

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Busy and stolen seconds of the whole machine.
double machineSeconds() {
    std::ifstream stat("/proc/stat");
    std::string cpu;
    double user = 0, nice = 0, system = 0, idle = 0, wait = 0, irq = 0, softirq = 0, steal = 0;
    stat >> cpu >> user >> nice >> system >> idle >> wait >> irq >> softirq >> steal;
    return (user + nice + system + irq + softirq + steal) / 100.0;
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Measurement {
    std::vector<double> wall;
    std::vector<double> cpu;
    std::vector<double> other;
    double loadedMib = 0;
    double peakMib = 0;
    Check check;
};

Measurement measure(const Run& run, int runs) {
    Measurement result;
    result.loadedMib = statusMib("VmRSS");
    std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts here
    // A processor that idled needs a while to speed up.
    for (const double end = now() + 0.5; now() < end;) {
    }
    std::function<Check()> read;
    for (int i = 0; i < runs; ++i) {
        read = nullptr;
        const double machine = machineSeconds();
        const double cpu = cpuSeconds();
        const double start = now();
        read = run();
        result.wall.push_back(now() - start);
        result.cpu.push_back(cpuSeconds() - cpu);
        const double others = machineSeconds() - machine - result.cpu.back();
        result.other.push_back(others > 0.0 ? others : 0.0);
    }
    result.peakMib = statusMib("VmHWM");
    result.check = read();
    return result;
}

void printList(const char* key, const std::vector<double>& values) {
    std::printf("\"%s\": [", key);
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::printf("%s%.9g", i == 0 ? "" : ", ", values[i]);
    }
    std::printf("], ");
}

void print(const std::string& workload, const Measurement& result) {
    std::printf("{\"workload\": \"%s\", \"peer\": \"%s\", ", workload.c_str(), kName);
    printList("wall", result.wall);
    printList("cpu", result.cpu);
    printList("other", result.other);
    std::printf("\"loaded_mib\": %.1f, \"peak_mib\": %.1f, \"check\": {", result.loadedMib,
                result.peakMib);
    const char* separator = "";
    for (const auto& [name, value] : result.check) {
        std::printf("%s\"%s\": %.17g", separator, name.c_str(), value);
        separator = ", ";
    }
    std::printf("}}\n");
}

int run(const std::vector<std::string>& arguments) {
    const auto all = workloads();
    if (arguments.size() == 1 && arguments[0] == "--list") {
        for (const auto& [name, setup] : all) std::printf("%s\t%s\n", name.c_str(), kName);
        return 0;
    }
    const char* directory = std::getenv("BENCH_DATA");
    if (arguments.size() != 3 || arguments[1] != kName || !all.contains(arguments[0]) ||
        directory == nullptr) {
        std::fprintf(stderr,
                     "usage: yardstick --list\n"
                     "       BENCH_DATA=DIRECTORY yardstick WORKLOAD %s RUNS\n",
                     kName);
        return 2;
    }
    const int runs = std::stoi(arguments[2]);
    print(arguments[0], measure(all.at(arguments[0])(Store(directory)), runs > 0 ? runs : 1));
    return 0;
}

}  // namespace
}  // namespace Veltrix::Yardstick

int main(int argc, char** argv) {
    try {
        return Veltrix::Yardstick::run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "yardstick: %s\n", error.what());
        return 1;
    }
}
