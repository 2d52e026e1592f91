// Many requests between the two real programs over a line full of faults, summed up in one line.

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <cstdio>

#include "endurancerun.h"

int main(int argc, char** argv)
{
    CLI::App app("Sends requests from the server to the simulator through a line full of faults.",
                 "endurance");
    app.footer("Prints one line. Exit status: 0 when every answer belonged to its request, else 1.");
    qint64 requests = 1000000;
    uint64_t seed = 1;
    double scale = 1;
    app.add_option("--requests", requests, "How many; 1000000 unless given");
    app.add_option("--seed", seed, "Repeats the faults; 1 unless given");
    app.add_option("--scale", scale, "So many times as many faults; 1 unless given");
    CLI11_PARSE(app, argc, argv);

    const QCoreApplication application(argc, argv);
    EnduranceRun run(requests, seed, EnduranceRun::manyFaults(scale));
    const EnduranceResult result = run.run();
    std::printf("seed=%llu %s\n", static_cast<unsigned long long>(seed), qPrintable(result.text()));
    return result.problem.isEmpty() && result.wrong == 0 ? 0 : 1;
}
