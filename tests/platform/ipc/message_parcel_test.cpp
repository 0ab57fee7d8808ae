#include "message_parcel.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "ipc_scene.h"

namespace OHOS {
namespace {

std::vector<uint8_t> BytesOf(const MessageParcel& parcel)
{
    return std::vector<uint8_t>(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

// A descriptor that a scene hands over as raw data of `written` bytes.
int RawFile(size_t written, int seals)
{
    const int fd = ::memfd_create("raw", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    EXPECT_EQ(::ftruncate(fd, static_cast<off_t>(written)), 0);
    EXPECT_EQ(::pwrite(fd, "first", 5, 0), 5);
    EXPECT_TRUE(seals == 0 || ::fcntl(fd, F_ADD_SEALS, seals) == 0);
    return fd;
}

constexpr size_t BIG = MessageParcel::MAX_INLINE_RAW_DATA + 1;

TEST(MessageParcelTest, BytesAreFrozen)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteInterfaceToken(u"ab"));
    ASSERT_TRUE(parcel.WriteRemoteObject(new ScriptedStub));
    const int fd = FileWith("x");
    ASSERT_TRUE(parcel.WriteFileDescriptor(fd));
    ASSERT_TRUE(parcel.WriteFileDescriptor(fd));
    ASSERT_TRUE(parcel.WriteRawData("raw", 3));
    (void)::close(fd);
    const std::vector<uint8_t> expected = {
        2, 0, 0, 0, 'a', 0, 'b', 0, 0, 0, 0, 0, // token: length, units, end and padding
        '*', 'O', 'B', 'J', 0, 0, 0, 0,         // object 0
        '$', 'F', 'D', '*', 0, 0, 0, 0,         // descriptor 0
        '$', 'F', 'D', '*', 1, 0, 0, 0,         // descriptor 1
        3, 0, 0, 0, 'r', 'a', 'w', 0,           // raw data: size, bytes, padding
    };
    EXPECT_EQ(BytesOf(parcel), expected);
}

TEST(MessageParcelTest, ObjectsAndDescriptorsAreReadInTheirOrderAndLeaveOtherFieldsAlone)
{
    MessageParcel parcel;
    const sptr<IRemoteObject> first = new ScriptedStub;
    const sptr<IRemoteObject> second = new ScriptedStub;
    const int fd = FileWith("content");
    ASSERT_TRUE(parcel.WriteInt32(7));
    ASSERT_TRUE(parcel.WriteRemoteObject(first));
    ASSERT_TRUE(parcel.WriteFileDescriptor(fd));
    ASSERT_TRUE(parcel.WriteRemoteObject(second));
    (void)::close(fd);

    EXPECT_EQ(parcel.ReadRemoteObject(), nullptr) << "an integer is next";
    EXPECT_EQ(parcel.ReadFileDescriptor(), -1);
    EXPECT_EQ(parcel.ReadInt32(), 7) << "a failed read has moved nothing";
    EXPECT_EQ(parcel.ReadRemoteObject(), first);
    EXPECT_EQ(parcel.ReadRemoteObject(), nullptr) << "a descriptor is next";
    const int read = parcel.ReadFileDescriptor();
    EXPECT_EQ(TextOf(read), "content");
    EXPECT_EQ(::fcntl(read, F_GETFD), FD_CLOEXEC);
    (void)::close(read);
    EXPECT_EQ(parcel.ReadRemoteObject(), second);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);
}

TEST(MessageParcelTest, WhatCannotBeWrittenLeavesNothing)
{
    MessageParcel parcel;
    const int closed = FileWith("");
    (void)::close(closed);
    EXPECT_FALSE(parcel.WriteRemoteObject(nullptr));
    EXPECT_FALSE(parcel.WriteFileDescriptor(-1));
    EXPECT_FALSE(parcel.WriteFileDescriptor(closed));
    EXPECT_FALSE(parcel.WriteRawData(nullptr, 4));
    EXPECT_FALSE(parcel.WriteRawData("", 0));
    EXPECT_EQ(parcel.GetDataSize(), 0U);

    ASSERT_TRUE(parcel.SetMaxCapacity(8));
    const size_t descriptors = CountDescriptors();
    EXPECT_TRUE(parcel.WriteFileDescriptor(STDERR_FILENO));
    EXPECT_FALSE(parcel.WriteFileDescriptor(STDERR_FILENO)) << "no room for the second";
    EXPECT_FALSE(parcel.WriteRemoteObject(new ScriptedStub));
    EXPECT_FALSE(parcel.WriteRawData("abc", 3));
    EXPECT_FALSE(parcel.WriteRawData(std::string(BIG, 'x').data(), BIG));
    EXPECT_EQ(parcel.GetDataSize(), 8U);
    EXPECT_EQ(CountDescriptors(), descriptors + 1);
}

TEST(MessageParcelTest, DescriptorsAreTakenOnceAndTheRestCloseWithTheParcel)
{
    const size_t before = CountDescriptors();
    {
        MessageParcel parcel;
        ASSERT_TRUE(parcel.WriteFileDescriptor(STDERR_FILENO));
        ASSERT_TRUE(parcel.WriteFileDescriptor(STDERR_FILENO));
        const int taken = parcel.ReadFileDescriptor();
        EXPECT_GE(taken, 0);
        (void)::close(taken);
        ASSERT_TRUE(parcel.RewindRead(0));
        EXPECT_EQ(parcel.ReadFileDescriptor(), -1) << "it is the reader's now, and may be anything by this time";
        EXPECT_EQ(CountDescriptors(), before + 1);
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(MessageParcelTest, RawDataReadsBackOnBothSidesOfTheInlineLimit)
{
    for (const size_t size : {size_t{1}, BIG - 1, BIG, size_t{1} << 20}) {
        MessageParcel parcel;
        std::string bytes(size, 'x');
        bytes.back() = 'y';
        ASSERT_TRUE(parcel.WriteRawData(bytes.data(), size)) << size;
        EXPECT_EQ(parcel.ContainFileDescriptors(), size >= BIG);
        EXPECT_EQ(parcel.ReadRawData(size + 1), nullptr) << size;
        const void* read = parcel.ReadRawData(size);
        ASSERT_NE(read, nullptr) << size;
        EXPECT_EQ(std::memcmp(read, bytes.data(), size), 0);
        EXPECT_EQ(parcel.GetReadableBytes(), 0U);
    }
}

// What a hostile sender may put in place of a sealed memory file.
TEST(MessageParcelTest, RawDataFromAStrangeFileIsCopiedOrRefused)
{
    std::array<int, 2> pipe = {-1, -1};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const int seals = F_SEAL_SHRINK | F_SEAL_WRITE | F_SEAL_GROW;
    struct Row {
        const char* name;
        int fd;
        bool readable;
    };
    for (const Row& row : {Row{"sealed", RawFile(BIG, seals), true}, Row{"not sealed", RawFile(BIG, 0), true},
             Row{"may still be written", RawFile(BIG, F_SEAL_SHRINK), true},
             Row{"too short", RawFile(BIG - 1, seals), false}, Row{"pipe", pipe[0], false},
             Row{"folder", ::open("/", O_RDONLY | O_CLOEXEC), false},
             Row{"device", ::open("/dev/zero", O_RDONLY | O_CLOEXEC), false}}) {
        MessageParcel parcel;
        ASSERT_TRUE(parcel.WriteInt32(static_cast<int32_t>(BIG)));
        ASSERT_TRUE(parcel.WriteFileDescriptor(row.fd));
        const auto* data = static_cast<const char*>(parcel.ReadRawData(BIG));
        EXPECT_EQ(data != nullptr, row.readable) << row.name;
        // Whatever the sender does to its file, the reader's bytes stay: neither changed nor a signal.
        (void)!::pwrite(row.fd, "other", 5, 0);
        (void)!::ftruncate(row.fd, 0);
        EXPECT_TRUE(data == nullptr || std::string(data, 5) == "first") << row.name;
        (void)::close(row.fd);
    }
    (void)::close(pipe[1]);
}

TEST(MessageParcelTest, BytesThatLieAboutObjectsAndDescriptorsOnlyFailTheRead)
{
    struct Row {
        const char* name;
        std::vector<uint32_t> words;
    };
    constexpr uint32_t object = 0x4a424f2a;
    constexpr uint32_t descriptor = 0x2a444624;
    for (const Row& row : {Row{"nothing", {}}, Row{"half a reference", {object}}, Row{"no such object", {object, 0}},
             Row{"huge number", {object, 0xffffffff}}, Row{"no such descriptor", {descriptor, 0}},
             Row{"huge descriptor", {descriptor, 0x80000000}}, Row{"negative raw data", {0xffffffff, descriptor, 0}},
             Row{"raw data beyond the end", {64, 1, 2}}, Row{"big raw data without a file", {BIG, 5}}}) {
        MessageParcel parcel;
        for (const uint32_t word : row.words) {
            ASSERT_TRUE(parcel.WriteUint32(word));
        }
        EXPECT_EQ(parcel.ReadRemoteObject(), nullptr) << row.name;
        EXPECT_EQ(parcel.ReadFileDescriptor(), -1) << row.name;
        EXPECT_EQ(parcel.ReadRawData(64), nullptr) << row.name;
        EXPECT_EQ(parcel.ReadRawData(BIG), nullptr) << row.name;
        EXPECT_EQ(parcel.ReadRawData(0xffffffff), nullptr) << row.name;
        EXPECT_EQ(parcel.GetReadPosition(), 0U) << row.name;
    }
}

} // namespace
} // namespace OHOS
