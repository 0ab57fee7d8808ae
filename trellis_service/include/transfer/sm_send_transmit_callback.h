#ifndef PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_H
#define PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_H

#include <atomic>

#include "share_device_info.h"
#include "transfer/sm_send_transmit_callback_stub.h"

namespace OHOS::Pelago {

// Follows one transfer to one physical device: brings the maps in step with each report, tells the clients in terms of
// the merged entry, and clears the records when it ends. Made just before the engine is asked to send, kept by the
// engine; reports come on IPC threads and are not serialised here. Reports that come after the end run all the same and
// find nothing.
class SMSendTransmitCallback : public SMSendTransmitCallbackStub {
public:
    // Announces the transfer to the clients at once.
    explicit SMSendTransmitCallback(const ShareDeviceInfo& device);

    // Whether an ending report has come. Set before the records are cleared, so that a sender that is stored later can
    // be taken out again.
    bool HasEnded() const
    {
        return ended_;
    }

    void OnProgess(int8_t percent) override;
    void OnSuccess(const std::string& info, const std::vector<std::string>& names) override;
    void OnStatus(const std::string& info, int status) override;
    void OnError(const std::string& info, int errorCode) override;
    void OnCorvaneIdHeadImageReceive(const std::string& deviceId, const std::string& headImage) override;
    void OnTotalFileLength(int length) override;
    void OnSpeed(int speed) override;
    void OnRecvSuccess() override;
    void OnMessageReceive(std::string message) override;
    void OnImportProgress(int8_t percent) override;
    void OnImportStarted() override;
    void OnDetailError(int errorCode) override;
    void OnOpenFileFd(const std::string& uri) override;
    void OnCloseFileFd(const std::string& uri) override;
    void OnTransByte(uint64_t transferred, uint64_t total) override;
    void OnFileFinish(const std::vector<std::string>& names, int result) override;
    void OnThermalLevelChanged(int lastLevel, int newLevel, int8_t connectionSide, int8_t action) override;
    void OnRelease(const std::string& deviceId, bool lost) override;
    void OnSwitchNotifyComponent(int component) override;
    void OnNudgeCancel(const std::string& deviceId) override;
    void OnMotionState(int trans, int state, int errorCode) override;
    void OnPopSwing(const std::string& deviceId, bool show) override;

private:
    // The four status fields as they go into the two device maps; -1 keeps what is there.
    struct Status {
        int event;
        int state;
        int percent;
        int speed;
    };

    void OnStatusInit();
    // Moves the entry, then tells the clients: they get the entry as it is now, not the report.
    void MoveEntryAndReport(int event, int value, int reportedValue);
    void Report(int event, int64_t value);
    // The sending record keeps a field that is -1; the record of all devices takes what it is given.
    void Store(const Status& sending, const Status& all);
    void End(const Status& last);

    const ShareDeviceInfo shareDeviceInfo_; // as it was when the send began
    std::atomic<int64_t> timeStamp_{0};     // the number of reports so far
    std::atomic<bool> ended_{false};
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_SM_SEND_TRANSMIT_CALLBACK_H
