#ifndef PELAGO_ENGINE_LOCAL_FILE_STORE_H
#define PELAGO_ENGINE_LOCAL_FILE_STORE_H

#include <cstdint>
#include <string>
#include <vector>

#include "ending.h"
#include "host/unique_fd.h"

namespace OHOS::Pelago::Local {

// The files of one receive, nameless until all of them are there. Every operation is relative to the directory's
// descriptor and names one component, which holds no separator and is no dot name: nothing can lead out of the
// directory, and no link is ever followed. Where the file system cannot hold files without a name, hidden ones stand in
// for them. Belongs to the transfer's byte queue. Its end removes what was not committed. It does not sync: like a
// copy, a receive that is done survives this process, not a loss of power.
class FileStore {
public:
    explicit FileStore(Host::UniqueFd directory) : directory_(std::move(directory))
    {}
    ~FileStore();
    FileStore(const FileStore&) = delete;
    FileStore& operator=(const FileStore&) = delete;

    // Makes the next file, with room for `size` bytes, and gives its descriptor, which stays the store's; -1, with the
    // reason in `failure`, NO_SPACE or RECEIVER_IO. `name` must be without fault.
    [[nodiscard]] int Create(const std::string& name, uint64_t size, Outcome& failure);
    // Gives all files their names, or numbered ones where something is there already, and adds these to `names`. On
    // failure none has one.
    [[nodiscard]] bool Commit(std::vector<std::string>& names, Outcome& failure);

private:
    struct File {
        Host::UniqueFd fd;
        std::string name;   // that it is to have; that it has, once it is committed
        std::string hidden; // that it has until then; empty where it needs none
    };

    [[nodiscard]] Host::UniqueFd OpenNameless(std::string& hidden) const;
    [[nodiscard]] int Link(const File& file, const std::string& name) const; // 0 or errno
    [[nodiscard]] bool CommitOne(File& file, Outcome& failure) const;
    void TakeBack(size_t committed);

    const Host::UniqueFd directory_;
    std::vector<File> files_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_FILE_STORE_H
