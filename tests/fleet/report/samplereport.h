#pragma once

#include "fleet/report/fleetreport.h"

/// A report in which every member has a value of its own.
inline fleet::FleetReport sampleReport()
{
    fleet::FleetReport report;
    report.version = "1.2.3";
    report.kernel = "Linux 6.1";
    report.seed = 4294967295;
    report.shard = fleet::Shard{1, 4};
    report.run = "night";
    report.devices = {1000, 990, {{"no answer", 3}, {"connection refused", 7}}, 2};
    report.connects = {500.0, 480.5};
    report.secondsUntilAllIn = 4.25;
    report.events(fleet::eEventKind::DIN) = {70, 60, 5, 4, 3, 3};
    report.events(fleet::eEventKind::AIN) = {20, 20, 1, 0, 0, 0};
    report.events(fleet::eEventKind::SCAN) = {5, 4, 0, 1, 0, 0};
    report.events(fleet::eEventKind::ADHOC) = {6, 6, 0, 0, 0, 0};
    report.latencies.connect.record(500);
    report.latencies.identified.record(1500);
    report.latencies.event.record(70);
    report.latencies.event.record(90);
    report.outages = {{"storm", 60.0, 1000, 12.5, 200}, {"flap", 65.0, 10, {}, 10}};
    report.bytesPerDevice = 7000.0;
    report.secondsPer1000Events = 0.015;
    report.limits = {20000, 28000};
    return report;
}
