#include "process_scene.h"

// What an observer is told of a device.
namespace OHOS::Pelago {
namespace {

class Watching : public ProcessScene {};

TEST_F(Watching, EveryChangeOfTheSwitchIsShownWithItsReason)
{
    const struct {
        std::vector<std::string> words;
        const char* line;
    } rows[] = {
        {{"on"}, "switch: on (lasting): a client asked for it"},
        {{"sim", "wifi", "off"}, "switch: off (hidden): a radio went away"},
        {{"sim", "wifi", "on"}, "switch: on (lasting): the radios are back"},
        {{"sim", "user", "add", "101"}, ""},
        {{"sim", "user", "unlock", "101"}, ""},
        {{"sim", "user", "switch", "101"}, "switch: never switched on (hidden): another user came to the front"},
        {{"sim", "user", "switch", "100"}, "switch: on (lasting): the saved state of the user was loaded"},
        {{"sim", "event", "package-cleared", "com.corvane.velos.pelago"}, "the data of the front end was cleared"},
    };
    auto device = NewDevice("phone");
    auto watch = Pelago({"watch"});
    watch->Await("switch: never switched on");
    for (const auto& row : rows) {
        size_t before = watch->Output().size();
        EXPECT_EQ(Pelago(row.words)->Wait(), 0);
        watch->Await(row.line, before);
    }
    EXPECT_EQ(Pelago({"sim", "wifi", "sideways"})->Wait(), 2);
    device->daemon.Signal(SIGKILL);
    EXPECT_EQ(watch->Wait(), 3) << "and the end of the device is said";
}

TEST_F(Watching, WhoeverUsesTheDeviceEndsWithItAndIsToldSo)
{
    auto device = NewDevice("phone");
    device->SwitchOn();
    std::string file = NewFile("card.vcf", 10).string();
    EXPECT_EQ(Pelago({"send", file, "--to", "", "--wait", "0"})->Wait(), 2) << "nobody has no name";
    auto send = Pelago({"send", file, "--to", "nobody", "--wait", "60"});
    auto nearby = Pelago({"nearby", "--watch"});
    ASSERT_TRUE(WaitUntil([&] { return device->Dumped("sizes", "clients") == 2; }));
    device->daemon.Signal(SIGKILL);
    EXPECT_EQ(send->Wait(), 3);
    EXPECT_EQ(nearby->Wait(), 3);
}

} // namespace
} // namespace OHOS::Pelago
