#ifndef PELAGO_TESTS_RECORDING_EXTENSION_H
#define PELAGO_TESTS_RECORDING_EXTENSION_H

#include "host/extension_host.h"
#include "host/loopback.h"
#include "recording_client.h"

namespace OHOS::Pelago {

// The front end's own process: serves its abilities and writes down what each is asked for, one line each, parameters
// by key: "start ShareServiceExtension ShareIntent=connect". Booleans read true and false.
class RecordingExtension : public Host::ExtensionStub {
public:
    Lines TakeHeard();

private:
    void OnStart(const AAFwk::Want& want) override;
    sptr<IRemoteObject> OnConnect(const AAFwk::Want& want) override;
    void OnDisconnect(const AAFwk::Want& want) override;
    void Hear(const std::string& verb, const AAFwk::Want& want);

    Lines heard_;
};

class TestExtension {
public:
    // Registers at once: make it before what it is to hear.
    TestExtension();

    // What has arrived since the last look, once the test has settled.
    Lines TakeHeard();
    Host::LoopbackProcess& Process();

private:
    sptr<RecordingExtension> extension_;
    Host::LoopbackProcess process_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_RECORDING_EXTENSION_H
