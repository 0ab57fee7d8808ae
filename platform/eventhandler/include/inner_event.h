#ifndef PLATFORM_EVENTHANDLER_INNER_EVENT_H
#define PLATFORM_EVENTHANDLER_INNER_EVENT_H

#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeindex>
#include <typeinfo>

namespace OHOS::AppExecFwk {

// One message to an EventHandler: an id with a number, or with a shared object.
//
// Made by Get and owned by its Pointer: by the sender until SendEvent, which takes it, then by the runner's queue until
// the handler has handled it. Immutable; it has no lock and needs none. Carries no task and no time.
class InnerEvent final {
public:
    using Pointer = std::unique_ptr<InnerEvent, void (*)(InnerEvent*)>;

    InnerEvent(const InnerEvent&) = delete;
    InnerEvent& operator=(const InnerEvent&) = delete;

    // A new event; never null.
    static Pointer Get(uint32_t innerEventId, int64_t param = 0);

    // A new event that shares `object`, which may be null.
    template <typename T>
    static Pointer Get(uint32_t innerEventId, const std::shared_ptr<T>& object, int64_t param = 0)
    {
        Pointer event = Get(innerEventId, param);
        event->object_ = std::const_pointer_cast<std::remove_const_t<T>>(object);
        event->objectType_ = typeid(T);
        return event;
    }

    uint32_t GetInnerEventId() const
    {
        return id_;
    }

    int64_t GetParam() const
    {
        return param_;
    }

    // The object that the event was made with; null if there is none or if it was made with another type than T.
    template <typename T>
    std::shared_ptr<T> GetSharedObject() const
    {
        return objectType_ == typeid(T) ? std::static_pointer_cast<T>(object_) : nullptr;
    }

private:
    InnerEvent(uint32_t innerEventId, int64_t param);
    ~InnerEvent() = default;

    uint32_t id_;
    int64_t param_;
    std::shared_ptr<void> object_;
    std::type_index objectType_;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_EVENTHANDLER_INNER_EVENT_H
