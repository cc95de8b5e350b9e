// The first byte of an input chooses the form of the report: a brace begins JSON.
#include "Fuzzing.h"

#include "RepairReport.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const bool isJson = size > 0 && data[0] == '{';
    RepairReport report;
    ep::SxFileError error;
    const bool isRead = readRepairReport(fuzzing::inputFile(data, size, isJson ? "json" : "csv"), report, error);
    fuzzing::require(isRead || !error.reason.isEmpty(), "a failure has a reason");
    fuzzing::outcome().add(isRead);
    if (!isRead)
        return 0;
    fuzzing::outcome().setAccepted();
    fuzzing::outcome().add(report.planes.join(QLatin1Char(',')));
    for (const orn::SxRepairedSample& sample : report.samples) {
        fuzzing::require(sample.plane >= 0 && sample.plane < report.planes.size(), "a sample is one of a plane");
        fuzzing::outcome().add(&sample, sizeof(sample));
    }
    return 0;
}
