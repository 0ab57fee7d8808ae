#ifndef PLATFORM_IPC_MESSAGE_OPTION_H
#define PLATFORM_IPC_MESSAGE_OPTION_H

namespace OHOS {

// How a request is to be sent. A plain value, made by the caller for one SendRequest; the handler of the request gets a
// copy with the same flags. Not shared between threads.
class MessageOption {
public:
    enum : int {
        TF_SYNC = 0,  // wait for the reply
        TF_ASYNC = 1, // one-way: return as soon as the request is on its way; there is no reply
    };
    static constexpr int TF_WAIT_TIME = 8; // seconds

    // `waitTime`: seconds that a synchronous call waits for its reply; the default for what is not positive.
    explicit MessageOption(int flags = TF_SYNC, int waitTime = TF_WAIT_TIME)
        : flags_(flags), waitTime_(waitTime > 0 ? waitTime : TF_WAIT_TIME)
    {}

    int GetFlags() const
    {
        return flags_;
    }
    void SetFlags(int flags)
    {
        flags_ = flags;
    }
    // Seconds.
    int GetWaitTime() const
    {
        return waitTime_;
    }
    void SetWaitTime(int waitTime)
    {
        waitTime_ = waitTime > 0 ? waitTime : TF_WAIT_TIME;
    }

private:
    int flags_;
    int waitTime_;
};

} // namespace OHOS

#endif // PLATFORM_IPC_MESSAGE_OPTION_H
