// The entry of libFuzzer. PELAGO_FUZZ_TARGET, the name of a target, keeps a run to that target.
#include <cstdio>
#include <cstdlib>

#include "targets.h"

using namespace OHOS::Pelago::Fuzz;

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed);

namespace {

const TargetRow* g_only = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    const char* name = std::getenv("PELAGO_FUZZ_TARGET");
    g_only = name == nullptr ? nullptr : FindTarget(name);
    if (name != nullptr && g_only == nullptr) {
        (void)std::fprintf(stderr, "fuzz: no target '%s'; there are: stubs records json framing channel files\n", name);
        std::exit(2);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PlayInput(data, size);
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int)
{
    if (g_only == nullptr || maxSize < 2) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    data[0] = static_cast<uint8_t>(g_only->target);
    return 1 + LLVMFuzzerMutate(data + 1, size > 1 ? size - 1 : 0, maxSize - 1);
}
