#ifndef PLATFORM_UTILS_REFBASE_H
#define PLATFORM_UTILS_REFBASE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

namespace OHOS {

class RefBase;

// The counts of one object that has been weakly referenced: it outlives the object by as long as weak references do.
// Made and owned by RefBase and wptr, used by nobody else. Any thread, lock-free. Does not touch the object after the
// count of strong references has reached 0.
class RefCounter {
public:
    // The object's strong count, as an object without weak references carries it inside itself. The value DYING is
    // added when the last reference goes, so that a reference taken and dropped by the destructor ends nothing twice.
    static constexpr uint32_t DYING = 1U << 30;

    explicit RefCounter(uint32_t strong) : strong_(strong)
    {}
    RefCounter(const RefCounter&) = delete;
    RefCounter& operator=(const RefCounter&) = delete;

    void IncStrong()
    {
        strong_.fetch_add(1, std::memory_order_relaxed);
    }
    // True for the caller that dropped the last reference: it must delete the object.
    [[nodiscard]] bool DecStrong();
    // A reference, if the object has an owner at this moment. False before its first owner and after its last.
    [[nodiscard]] bool AttemptIncStrong();
    [[nodiscard]] uint32_t Strong() const
    {
        return strong_.load(std::memory_order_relaxed);
    }

    // The object itself counts as one weak reference, so the counter is freed by whoever goes last.
    void IncWeak()
    {
        weak_.fetch_add(1, std::memory_order_relaxed);
    }
    void DecWeak();

private:
    friend class RefBase; // hands over the inner count before anybody else sees the counter

    ~RefCounter() = default;

    std::atomic<uint32_t> strong_;
    std::atomic<uint32_t> weak_{1};
};

// Base of everything that is held by sptr and wptr: counts its owners and deletes itself when the last one goes.
// Owned by its strong references; an object that was never given to one is an ordinary object (records live on stacks
// and in containers) and is destroyed as such. A copy is a new object with no owners; assignment leaves counts alone.
// Any thread may take and drop references; the destructor runs on the thread that drops the last. May be a virtual
// base. Does not protect the members of the class that derives from it. A constructor may hand out weak references to
// `this`; they promote from the first strong reference on. It must not make a strong one: dropping that would delete
// the object under construction.
class RefBase {
public:
    RefBase() noexcept = default;
    RefBase(const RefBase&) noexcept
    {}
    RefBase& operator=(const RefBase&) noexcept
    {
        return *this;
    }
    virtual ~RefBase();

    // Adds an owner. The argument, here and below, is for people who trace references and may be null.
    // The caller owns a reference already, or has just made the object.
    void IncStrongRef(const void* owner);
    // Drops an owner; the last one deletes the object.
    void DecStrongRef(const void* owner);
    // Adds an owner if there is one already. The caller knows that the memory is still there.
    [[nodiscard]] bool AttemptIncStrongRef(const void* owner);
    // How many owners there are just now: for tests and dumps, old when it arrives.
    [[nodiscard]] int GetSptrRefCount() const;

    // The shared counter with a weak reference added, made on first use. For wptr.
    [[nodiscard]] RefCounter* AcquireWeakCounter();

private:
    // Most objects never see a weak reference, so the count begins inside the object: an odd value is the strong count
    // times two plus one, an even one the address of a RefCounter that has taken over for good.
    static constexpr uintptr_t INNER = 1;
    static constexpr uintptr_t ONE_STRONG = 2;

    static RefCounter* CounterOf(uintptr_t refs)
    {
        return (refs & INNER) != 0 ? nullptr : reinterpret_cast<RefCounter*>(refs);
    }
    // Adds `change` to the inner count. False, with the counter in `refs`, if a counter has taken over.
    bool ChangeInner(uintptr_t& refs, uintptr_t change);

    std::atomic<uintptr_t> refs_{INNER};
};

namespace RefDetail {
template <typename From, typename To, typename = void>
struct StaticCasts : std::false_type {};
template <typename From, typename To>
struct StaticCasts<From, To, std::void_t<decltype(static_cast<To*>(std::declval<From*>()))>> : std::true_type {};

template <typename From, typename To>
inline constexpr bool IS_UP = std::is_convertible_v<From*, To*>;
template <typename From, typename To>
inline constexpr bool IS_DOWN = !IS_UP<From, To> && StaticCasts<From, To>::value;
} // namespace RefDetail

// A strong reference: an owner of the object, or empty. Converts upwards by itself and downwards when asked, as a
// pointer does with static_cast (the caller vouches for the type). Different sptr to one object may be used on any
// threads; one sptr object belongs to one thread at a time, as a pointer does.
template <typename T>
class sptr {
public:
    sptr() noexcept = default;
    sptr(std::nullptr_t) noexcept
    {}
    sptr(T* object) : object_(object)
    {
        Hold();
    }
    sptr(const sptr& other) : object_(other.object_)
    {
        Hold();
    }
    sptr(sptr&& other) noexcept : object_(std::exchange(other.object_, nullptr))
    {}
    template <typename O, std::enable_if_t<RefDetail::IS_UP<O, T>, int> = 0>
    sptr(const sptr<O>& other) : object_(other.GetRefPtr())
    {
        Hold();
    }
    template <typename O, std::enable_if_t<RefDetail::IS_UP<O, T>, int> = 0>
    sptr(sptr<O>&& other) noexcept : object_(other.Detach())
    {}
    template <typename O, std::enable_if_t<RefDetail::IS_DOWN<O, T>, int> = 0>
    explicit sptr(const sptr<O>& other) : object_(static_cast<T*>(other.GetRefPtr()))
    {
        Hold();
    }
    ~sptr()
    {
        clear();
    }

    // By value: the old object goes when everything here is already as it will be.
    sptr& operator=(sptr other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }

    // A new object with its first owner. The static form is the platform's.
    template <typename... Args>
    [[nodiscard]] static sptr MakeSptr(Args&&... args)
    {
        return sptr(new T(std::forward<Args>(args)...));
    }

    T* GetRefPtr() const noexcept
    {
        return object_;
    }
    T* operator->() const noexcept
    {
        return object_;
    }
    T& operator*() const noexcept
    {
        return *object_;
    }
    explicit operator bool() const noexcept
    {
        return object_ != nullptr;
    }

    // Drops the reference. The sptr is empty before the object's destructor runs.
    void clear()
    {
        if (T* old = std::exchange(object_, nullptr); old != nullptr) {
            old->DecStrongRef(this);
        }
    }

    // Takes over a reference that has been counted already. For wptr.
    [[nodiscard]] static sptr Adopt(T* counted) noexcept
    {
        sptr result;
        result.object_ = counted;
        return result;
    }
    // Gives up the pointer without dropping its reference: the caller owns that now.
    [[nodiscard]] T* Detach() noexcept
    {
        return std::exchange(object_, nullptr);
    }

private:
    void Hold()
    {
        if (object_ != nullptr) {
            object_->IncStrongRef(this);
        }
    }

    T* object_ = nullptr;
};

template <typename T, typename... Args>
[[nodiscard]] sptr<T> MakeSptr(Args&&... args)
{
    return sptr<T>::MakeSptr(std::forward<Args>(args)...);
}

template <typename T, typename O>
bool operator==(const sptr<T>& left, const sptr<O>& right)
{
    return left.GetRefPtr() == right.GetRefPtr();
}
template <typename T, typename O>
bool operator==(const sptr<T>& left, const O* right)
{
    return left.GetRefPtr() == right;
}
template <typename T, typename O>
bool operator==(const O* left, const sptr<T>& right)
{
    return left == right.GetRefPtr();
}
template <typename T>
bool operator==(const sptr<T>& left, std::nullptr_t)
{
    return left.GetRefPtr() == nullptr;
}
template <typename T>
bool operator==(std::nullptr_t, const sptr<T>& right)
{
    return right.GetRefPtr() == nullptr;
}
template <typename T, typename O>
bool operator!=(const sptr<T>& left, const O& right)
{
    return !(left == right);
}
template <typename T, typename O, std::enable_if_t<std::is_pointer_v<O> || std::is_null_pointer_v<O>, int> = 0>
bool operator!=(O left, const sptr<T>& right)
{
    return !(left == right);
}
// By address, so that an sptr can be the key of an ordered map.
template <typename T>
bool operator<(const sptr<T>& left, const sptr<T>& right)
{
    return std::less<T*>()(left.GetRefPtr(), right.GetRefPtr());
}

// A weak reference: knows an object without keeping it. promote() gives a strong one, or an empty one when the last
// owner has gone, or when there was none yet; against the last owner's going it is exact, and never waits. Any thread,
// with the rule of sptr for one wptr object. Does not give the bare pointer: by the time that it were used the object
// could be gone.
template <typename T>
class wptr {
public:
    wptr() noexcept = default;
    wptr(std::nullptr_t) noexcept
    {}
    // The caller knows that the object is alive, as in the object's own constructor.
    wptr(T* object) : object_(object), counter_(object == nullptr ? nullptr : object->AcquireWeakCounter())
    {}
    template <typename O, std::enable_if_t<RefDetail::IS_UP<O, T>, int> = 0>
    wptr(const sptr<O>& other) : wptr(static_cast<T*>(other.GetRefPtr()))
    {}
    wptr(const wptr& other) noexcept : object_(other.object_), counter_(other.counter_)
    {
        if (counter_ != nullptr) {
            counter_->IncWeak();
        }
    }
    wptr(wptr&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)), counter_(std::exchange(other.counter_, nullptr))
    {}
    // Empty when the object is gone: the way to a virtual base leads through the living object.
    template <typename O, std::enable_if_t<RefDetail::IS_UP<O, T> && !std::is_same_v<O, T>, int> = 0>
    wptr(const wptr<O>& other) : wptr(other.promote())
    {}
    ~wptr()
    {
        if (counter_ != nullptr) {
            counter_->DecWeak();
        }
    }
    wptr& operator=(wptr other) noexcept
    {
        std::swap(object_, other.object_);
        std::swap(counter_, other.counter_);
        return *this;
    }

    // A strong reference, or an empty one.
    [[nodiscard]] sptr<T> promote() const
    {
        return counter_ != nullptr && counter_->AttemptIncStrong() ? sptr<T>::Adopt(object_) : sptr<T>();
    }

    // Whether both mean one object, dead or alive; a new object at an old address is another one. Two empty ones are
    // equal. An sptr on one side converts.
    friend bool operator==(const wptr& left, const wptr& right)
    {
        return left.counter_ == right.counter_;
    }
    friend bool operator!=(const wptr& left, const wptr& right)
    {
        return !(left == right);
    }
    // Against a bare pointer: by address.
    friend bool operator==(const wptr& left, const T* right)
    {
        return left.object_ == right;
    }
    friend bool operator!=(const wptr& left, const T* right)
    {
        return !(left == right);
    }
    friend bool operator==(const wptr& left, std::nullptr_t)
    {
        return left.object_ == nullptr;
    }
    friend bool operator!=(const wptr& left, std::nullptr_t)
    {
        return left.object_ != nullptr;
    }

private:
    T* object_ = nullptr; // never used but through a counted reference, and for comparison
    RefCounter* counter_ = nullptr;
};

} // namespace OHOS

#endif // PLATFORM_UTILS_REFBASE_H
