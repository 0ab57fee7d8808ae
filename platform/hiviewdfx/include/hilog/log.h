#ifndef PLATFORM_HIVIEWDFX_HILOG_LOG_H
#define PLATFORM_HIVIEWDFX_HILOG_LOG_H

#include <atomic>
#include <cstddef>
#include <type_traits>

// The log. A line has a level, a domain and a tag to filter by, and a text made from a format in the manner of printf
// in which each specifier says who may see its value: %{public}d shows it; %{private}d, and a plain %d, write
// "<private>". Any thread, before main and after it. A line below the level costs one comparison and evaluates no
// argument, unless somebody follows the log.

enum LogType {
    LOG_APP = 0,
    LOG_INIT = 1,
    LOG_CORE = 3,
};

enum LogLevel {
    LOG_DEBUG = 3,
    LOG_INFO = 4,
    LOG_WARN = 5,
    LOG_ERROR = 6,
    LOG_FATAL = 7,
};

namespace OHOS::HiviewDFX {

// The lowest level that is written or followed. Set through the host's log header.
inline std::atomic<int> g_hiLogThreshold{LOG_INFO};

// What an argument is once it has passed through "...".
enum class HiLogKind : unsigned char {
    NONE, // takes no argument, or is none that a format can name
    INT32,
    INT64,
    DOUBLE,
    STRING,
    POINTER,
};

constexpr HiLogKind HiLogIntegerOf(size_t size)
{
    return size <= 4 ? HiLogKind::INT32 : HiLogKind::INT64;
}

template <typename T>
constexpr HiLogKind HiLogKindOf()
{
    using Value = std::decay_t<T>;
    if constexpr (std::is_integral_v<Value> || (std::is_enum_v<Value> && std::is_convertible_v<Value, long long>)) {
        return HiLogIntegerOf(sizeof(Value));
    } else if constexpr (std::is_same_v<Value, double> || std::is_same_v<Value, float>) {
        return HiLogKind::DOUBLE;
    } else if constexpr (std::is_same_v<Value, const char*> || std::is_same_v<Value, char*>) {
        return HiLogKind::STRING;
    } else {
        return std::is_pointer_v<Value> ? HiLogKind::POINTER : HiLogKind::NONE;
    }
}

// One specifier of a format, read from behind its '%'. The check at compile time and the writer at run time share it.
struct HiLogSpecifier {
    bool known = false;               // whether it is one that the log knows
    bool shown = false;               // public
    char conversion = '\0';           // 'd', 's', ..., '%' for itself
    HiLogKind kind = HiLogKind::NONE; // the argument that it takes
    const char* options = nullptr;    // flags, width and precision of a number, up to optionsEnd
    const char* optionsEnd = nullptr;
    const char* end = nullptr; // behind the specifier
};

constexpr bool HiLogSkip(const char*& at, const char* word)
{
    const char* rest = at;
    for (; *word != '\0'; ++word, ++rest) {
        if (*rest != *word) {
            return false;
        }
    }
    at = rest;
    return true;
}

// The size that a length modifier gives to an integer; 0 if there is no modifier.
constexpr size_t HiLogSkipLength(const char*& at)
{
    if (HiLogSkip(at, "ll") || HiLogSkip(at, "j")) {
        return sizeof(long long);
    }
    if (HiLogSkip(at, "l")) {
        return sizeof(long);
    }
    if (HiLogSkip(at, "z")) {
        return sizeof(size_t);
    }
    return HiLogSkip(at, "hh") || HiLogSkip(at, "h") ? sizeof(int) : 0;
}

constexpr HiLogKind HiLogKindFor(char conversion, size_t length)
{
    switch (conversion) {
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            return length == 0 ? HiLogKind::INT32 : HiLogIntegerOf(length);
        case 'c':
            return length == 0 ? HiLogKind::INT32 : HiLogKind::NONE;
        case 'f':
        case 'e':
        case 'g':
            return length == 0 ? HiLogKind::DOUBLE : HiLogKind::NONE;
        case 's':
            return length == 0 ? HiLogKind::STRING : HiLogKind::NONE;
        case 'p':
            return length == 0 ? HiLogKind::POINTER : HiLogKind::NONE;
        default:
            return HiLogKind::NONE;
    }
}

constexpr HiLogSpecifier HiLogParse(const char* at)
{
    HiLogSpecifier spec;
    spec.shown = HiLogSkip(at, "{public}");
    if (!spec.shown) {
        (void)HiLogSkip(at, "{private}"); // the default, said aloud
    }
    spec.options = at;
    while ((*at >= '0' && *at <= '9') || *at == '-' || *at == '+' || *at == ' ' || *at == '#' || *at == '.') {
        ++at;
    }
    spec.optionsEnd = at;
    const size_t length = HiLogSkipLength(at);
    spec.conversion = *at;
    spec.kind = HiLogKindFor(*at, length);
    const bool isNumber = spec.kind != HiLogKind::STRING && spec.kind != HiLogKind::POINTER && *at != 'c';
    spec.known = (spec.kind != HiLogKind::NONE || *at == '%') && (isNumber || spec.options == spec.optionsEnd);
    spec.end = *at == '\0' ? at : at + 1;
    return spec;
}

// How a format and its arguments disagree. Each number is 0, or tells which one, counted from 1.
struct HiLogVerdict {
    int unknownSpecifier = 0;
    int missingArgument = 0;
    int surplusArgument = 0;
    int wrongArgument = 0;
};

constexpr HiLogVerdict HiLogJudge(const char* format, const HiLogKind* kinds, int count)
{
    HiLogVerdict verdict;
    int used = 0;
    while (*format != '\0') {
        if (*format++ != '%') {
            continue;
        }
        const HiLogSpecifier spec = HiLogParse(format);
        format = spec.end;
        if (!spec.known) {
            verdict.unknownSpecifier = used + 1;
            return verdict;
        }
        if (spec.kind == HiLogKind::NONE) {
            continue;
        }
        if (used == count) {
            verdict.missingArgument = used + 1;
            return verdict;
        }
        if (spec.kind != kinds[used++]) {
            verdict.wrongArgument = used;
            return verdict;
        }
    }
    verdict.surplusArgument = used < count ? used + 1 : 0;
    return verdict;
}

template <typename... Args>
struct HiLogArguments {
    static constexpr HiLogKind KINDS[] = {HiLogKindOf<Args>()..., HiLogKind::NONE};

    static constexpr HiLogVerdict Judge(const char* format)
    {
        return HiLogJudge(format, KINDS, sizeof...(Args));
    }
};

// Only ever named inside decltype.
template <typename... Args>
HiLogArguments<Args...> HiLogArgumentsOf(const char* format, const Args&... args);

} // namespace OHOS::HiviewDFX

// Whether a line of this level is written or followed. One level holds for all domains and tags.
[[nodiscard]] inline bool HiLogIsLoggable(unsigned int, const char*, LogLevel level)
{
    return level >= OHOS::HiviewDFX::g_hiLogThreshold.load(std::memory_order_relaxed);
}

// Writes one line; what HILOG_IMPL calls. The format and its arguments must agree: only the macro checks that. Returns
// the length of the text, 0 if the level is not written. A text is cut after some 4000 bytes. errno keeps its value.
int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char* tag, const char* format, ...);

#define HILOG_FORMAT_OF(format, ...) format

// Writes a line: HILOG_IMPL(type, level, domain, tag, "format", arguments...). Arguments that do not fit the format do
// not compile; the compiler's note "the comparison reduces to" names the argument.
#define HILOG_IMPL(type, level, domain, tag, ...)                                                                      \
    do {                                                                                                               \
        if (HiLogIsLoggable(domain, tag, level)) {                                                                     \
            {                                                                                                          \
                constexpr ::OHOS::HiviewDFX::HiLogVerdict hiLogVerdict = decltype(::OHOS::HiviewDFX::HiLogArgumentsOf( \
                    __VA_ARGS__))::Judge(HILOG_FORMAT_OF(__VA_ARGS__, 0));                                             \
                static_assert(hiLogVerdict.unknownSpecifier == 0,                                                      \
                    "log: a specifier of the format is unknown; write %{public} and one of "                           \
                    "d i u x X o c s f e g p, integers with l, ll, z where they are longer");                          \
                static_assert(                                                                                         \
                    hiLogVerdict.missingArgument == 0, "log: the format asks for more arguments than given");          \
                static_assert(hiLogVerdict.surplusArgument == 0, "log: more arguments given than the format shows");   \
                static_assert(hiLogVerdict.wrongArgument == 0,                                                         \
                    "log: an argument does not fit its specifier: d u x take int and smaller, ld lu zu take 64 bits, " \
                    "s takes const char*; cast at the call");                                                          \
            }                                                                                                          \
            (void)HiLogPrint(type, level, domain, tag, __VA_ARGS__); /* the length is of no use here */                \
        }                                                                                                              \
    } while (0)

#endif // PLATFORM_HIVIEWDFX_HILOG_LOG_H
