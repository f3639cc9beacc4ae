#pragma once

#include "core/Logger.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

// The main of a benchmark program: a Qt application for the code under test, Sorvane's log
// silenced so that writing it is not measured.
#define SORVANE_BENCHMARK_MAIN()                                                                   \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        QCoreApplication application(argc, argv);                                                  \
        Logger::setSink(Logger::Sink::Silent);                                                     \
        benchmark::Initialize(&argc, argv);                                                        \
        benchmark::RunSpecifiedBenchmarks();                                                       \
        benchmark::Shutdown();                                                                     \
        return 0;                                                                                  \
    }
