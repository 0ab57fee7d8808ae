#ifndef PELAGO_TOOLS_PAYLOAD_H
#define PELAGO_TOOLS_PAYLOAD_H

#include <cstdint>
#include <string>
#include <vector>

#include "data_bean.h"
#include "exit_codes.h"
#include "send_bean.h"

namespace OHOS::Pelago::Tools {

// What is sent: files, a text, or both, as the two records that carry them. It owns the descriptors in `bean` until its
// end; the service duplicates what it keeps before a send returns. One thread at a time.
class Payload {
public:
    Payload() = default;
    ~Payload();
    Payload(const Payload&) = delete;
    Payload& operator=(const Payload&) = delete;

    // Takes regular files, by descriptor into `bean` or with `asUris` by name into `data`, and the text into both.
    // Complains about the first file that cannot be sent; the payload is then of no use.
    [[nodiscard]] ExitCode Fill(const std::vector<std::string>& files, const std::string& text, bool asUris);

    int64_t TotalSize() const
    {
        return bean.totalSize; // counts files of either kind
    }

    SendBean bean;
    DataBean data;

private:
    [[nodiscard]] bool Add(const std::string& path, bool asUri);
    [[nodiscard]] bool AddUri(const std::string& path, const std::string& name, int64_t size);
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_PAYLOAD_H
