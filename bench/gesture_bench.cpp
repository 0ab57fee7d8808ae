// How long a gesture takes until the framework is given the preview of what the application shows: the application in
// front is found and told, answers with a text of a few kilobytes, and the preview is built; less the time in which the
// application is being called. With one application that wants gestures, which is the floor, and with two hundred.
#include <memory>
#include <string>
#include <vector>

#include "bench_device.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_api_callback_proxy.h"
#include "gesture/share_focus_listener.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

constexpr int32_t APPLICATIONS[] = {1, 200};
constexpr size_t ROUNDS = 9;
constexpr size_t GESTURES = 500; // per round and number of applications
constexpr int32_t IN_FRONT = 1;
constexpr double AIM = 1.5;

// The remote object of an application that answers at once and knows how long it was being asked.
class CountingApplication : public IPCObjectStub {
public:
    int SendRequest(
        uint32_t /* code */, MessageParcel& data, MessageParcel& /* reply */, MessageOption& /* option */) override
    {
        const double start = Bench::NowNs();
        ++told;
        Bench::Keep(data);
        spentNs += Bench::NowNs() - start;
        return ERR_NONE;
    }

    size_t told = 0;
    double spentNs = 0;
};

// The framework takes everything, and knows when it was given a state last.
class Framework : public Bench::QuietFramework {
public:
    int32_t PublishServiceState(const std::string&, const std::string&, const std::string& extraInfo, int32_t) override
    {
        publishedNs = Bench::NowNs();
        size = extraInfo.size();
        return 0;
    }

    double publishedNs = 0;
    size_t size = 0; // of the text that was published last
};

BytesInfo MakeAnswer()
{
    BytesInfo bytes;
    bytes.previewData =
        R"({"thumbnail":")" + std::string(4096, 't') + R"(","iconBase64":")" + std::string(1024, 'i') + R"("})";
    bytes.text = R"({"text":"{\"title\":\"Holiday\",\"description\":\"Twelve pictures\",\"showMode\":1}"})";
    return bytes;
}

// The median of one round's gestures.
double MeasureGestures(TrellisService& service, CountingApplication& inFront, const Framework& framework)
{
    const BytesInfo answer = MakeAnswer();
    ShareDeviceInfo placeholder;
    placeholder.deviceId = "-1";
    placeholder.discoveredBy = Discoverer::SWING;
    std::vector<double> samples;
    for (size_t i = 0; i < GESTURES; ++i) {
        inFront.spentNs = 0;
        const double start = Bench::NowNs();
        TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "bench", -1);
        if (!service.SendBytes(placeholder, answer)) {
            Bench::Fail("the answer was not taken");
        }
        samples.push_back(framework.publishedNs - start - inFront.spentNs);
        if (framework.size < answer.previewData.size()) {
            Bench::Fail("the preview was not published");
        }
    }
    return Bench::Median(samples);
}

// Registers `count` applications, of which the first is in front, measures, and lets them die.
double RunStep(
    TrellisService& service, const sptr<CountingApplication>& inFront, const Framework& framework, int32_t count)
{
    const auto manager = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
    for (int32_t pid = IN_FRONT; pid < IN_FRONT + count; ++pid) {
        const sptr<IRemoteObject> object =
            pid == IN_FRONT ? inFront : sptr<CountingApplication>(new CountingApplication());
        if (!manager->AddShareApiCallback(pid, new ShareApiCallbackProxy(object)) ||
            !manager->AddShareEventCallback(pid, 1, ShareEvent::GESTURES)) {
            Bench::Fail("an application could not be registered");
        }
    }
    const double median = MeasureGestures(service, *inFront, framework);
    for (int32_t pid = IN_FRONT; pid < IN_FRONT + count; ++pid) {
        manager->ApiCallbackDeath(pid);
    }
    if (manager->GetSizes().apps != 0) {
        Bench::Fail("applications were left behind");
    }
    return median;
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Printer printer("gesture_bench", argc, argv);
    Bench::PinToCpu(0);
    const auto framework = std::make_shared<Framework>();
    Synfold::InstallCollabBackend(framework);
    const sptr<TrellisService> service = new TrellisService(TRELLIS_SERVICE_ID, false);
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->Init(service);
    ShareFocusListener::GetInstance()->OnFocused(MakeSptr<Rosen::FocusChangeInfo>(IN_FRONT, 0));
    const sptr<CountingApplication> inFront = new CountingApplication();
    std::vector<std::vector<double>> samples(std::size(APPLICATIONS));
    for (size_t round = 0; round < ROUNDS; ++round) {
        for (size_t step = 0; step < std::size(APPLICATIONS); ++step) {
            samples[step].push_back(RunStep(*service, inFront, *framework, APPLICATIONS[step]));
        }
    }
    if (inFront->told != ROUNDS * GESTURES * std::size(APPLICATIONS)) {
        Bench::Fail("the application in front did not hear of every gesture");
    }
    const double floor = Bench::Median(samples[0]);
    for (size_t step = 0; step < std::size(APPLICATIONS); ++step) {
        const std::string name = "gesture to preview, " + std::to_string(APPLICATIONS[step]) + " applications";
        printer.Print({name, "ns", Bench::Median(samples[step]), floor, AIM});
    }
    return 0;
}
