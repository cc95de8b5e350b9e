#include "Fuzzing.h"

#include <orn/DefectList.h>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = fuzzing::inputFile(data, size, "badpixels");
    orn::SxDefectList list;
    ep::SxFileError error;
    const bool isRead = orn::readDefectList(path, list, error);
    fuzzing::require(isRead || !error.reason.isEmpty(), "a failure has a reason");
    fuzzing::outcome().add(isRead);
    if (!isRead)
        return 0;
    fuzzing::outcome().setAccepted();
    for (const orn::SxDefect& defect : orn::uniteDefects(list.defects, list.defects)) {
        fuzzing::outcome().add(defect.x);
        fuzzing::outcome().add(defect.y);
        fuzzing::outcome().add(defect.kind);
    }
    return 0;
}
