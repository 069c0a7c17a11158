// Fuzzes the reader of the XML form of projects.
#include "projectfiles/projectxml.h"

#include "nodisk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    withDevice(data, size, [](QIODevice& device) {
        NoDisk layers;
        check(readProjectXml(device, layers, {}));
    });
    return 0;
}
