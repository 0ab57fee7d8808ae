#include "targets.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace OHOS::Pelago::Fuzz {

const TargetRow TARGETS[TARGET_COUNT] = {
    {Target::STUBS, "stubs", PlayStubs},
    {Target::RECORDS, "records", PlayRecords},
    {Target::JSON, "json", PlayJson},
    {Target::FRAMING, "framing", PlayFraming},
    {Target::CHANNEL, "channel", PlayChannel},
    {Target::FILES, "files", PlayFiles},
};

const TargetRow* FindTarget(std::string_view name)
{
    for (const TargetRow& row : TARGETS) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

void PlayInput(const uint8_t* data, size_t size)
{
    Feed feed({reinterpret_cast<const char*>(data), size});
    if (!feed.AtEnd()) {
        TARGETS[feed.Below(TARGET_COUNT)].run(feed);
    }
}

void Fail(std::string_view what)
{
    (void)std::fprintf(stderr, "fuzz: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
}

void Plant(Target target, bool isReached)
{
    static const char* const planted = std::getenv("PELAGO_FUZZ_PLANT");
    if (isReached && planted != nullptr && FindTarget(planted) == &TARGETS[static_cast<size_t>(target)]) {
        Fail(std::string("the planted bug of ") + planted);
    }
}

} // namespace OHOS::Pelago::Fuzz
