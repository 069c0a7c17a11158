// Fuzzes the reader of the binary form of projects.
#include "projectfiles/projectbinary.h"

#include "nodisk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    withDevice(data, size, [](QIODevice& device) {
        NoDisk layers;
        check(readProjectBinary(device, layers, {}));
    });
    return 0;
}
