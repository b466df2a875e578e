#include "libvekstream/TraceWriter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <functional>
#include <thread>

#include "support/TemporaryFolder.h"
#include "support/descriptors.h"
#include "support/hex.h"

namespace {

using names_t = std::vector<std::string>;

const byteVec_t CONTENT = bytes("55 AA 00 0C 80 20");
const byteVec_t OTHER = bytes("01 02 03");

/// Bytes of which any mix-up shows.
byteVec_t manyBytes(size_t length) {
    byteVec_t result(length);
    for (size_t i = 0; i < length; ++i) {
        result[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }
    return result;
}

/// The exception that `code` throws, or one without a reason.
TraceException thrownBy(const std::function<void()>& code) {
    try {
        code();
    } catch (const TraceException& exception) {
        return exception;
    }
    return {"", 0, -1};
}

int errorOf(const std::function<void()>& code) { return thrownBy(code).error(); }

void expectEqual(const TraceException& actual, const TraceException& expected) {
    EXPECT_STREQ(actual.what(), expected.what());
    EXPECT_EQ(actual.offset(), expected.offset());
    EXPECT_EQ(actual.error(), expected.error());
}

void writeFile(const std::string& path, TraceWriter::existing_t existing,
               const byteVec_t& content = CONTENT) {
    TraceWriter writer(path, existing);
    writer.write(content);
    writer.commit();
}

mode_t permissionsOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

class FileCreationMask {
public:
    explicit FileCreationMask(mode_t mask) : before(::umask(mask)) {}
    ~FileCreationMask() { ::umask(before); }
    FileCreationMask(const FileCreationMask&) = delete;
    FileCreationMask& operator=(const FileCreationMask&) = delete;

private:
    mode_t before;
};

/// Lets no file of the process grow beyond a length.
class FileLimit {
public:
    explicit FileLimit(rlim_t length) {
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {length, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        handler = ::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before);
        ::signal(SIGXFSZ, handler);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    rlimit before = {};
    void (*handler)(int) = nullptr;
};

// ---- Files -------------------------------------------------------------------------------------

TEST(TraceWriter, GivesTheNameByACommitOnly) {
    const TemporaryFolder folder;
    TraceWriter writer(folder.path("trace"));
    writer.write(CONTENT);
    writer.flush();
    ASSERT_EQ(folder.names().size(), 1U);
    EXPECT_NE(folder.names().front(), "trace");
    writer.commit();
    EXPECT_EQ(folder.names(), names_t{"trace"});
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

TEST(TraceWriter, RemovesNothingBehindTheCommit) {
    const TemporaryFolder folder;
    names_t ours;
    {
        TraceWriter writer(folder.path("trace"));
        ours = folder.names();
        writer.commit();
        folder.write(ours.front(), OTHER);  // now somebody else's
    }
    EXPECT_EQ(folder.names(), (names_t{ours.front(), "trace"}));
}

TEST(TraceWriter, LeavesNothingWithoutACommit) {
    const TemporaryFolder folder;
    {
        TraceWriter writer(folder.path("trace"));
        writer.write(manyBytes(200000));
    }
    EXPECT_EQ(folder.names(), names_t{});
}

TEST(TraceWriter, WritesAFileWithoutAByte) {
    const TemporaryFolder folder;
    writeFile(folder.path("trace"), TraceWriter::EXISTING_REFUSE, {});
    EXPECT_EQ(hex(folder.content("trace")), "");
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, KeepsTheOrderOfSmallAndLargePieces) {
    const TemporaryFolder folder;
    const byteVec_t all = manyBytes(1000000);
    TraceWriter writer(folder.path("trace"));
    size_t done = 0;
    for (const size_t piece : std::initializer_list<size_t>{1, 65535, 1, 65536, 0, 65537, 3, 200000,
                                                            40000, 40000, 500000}) {
        writer.write(&all[done], piece);
        done += piece;
    }
    writer.write(all.data() + done, all.size() - done);
    EXPECT_EQ(writer.size(), all.size());
    writer.commit();
    EXPECT_EQ(writer.size(), all.size());
    EXPECT_TRUE(folder.content("trace") == all);
}

TEST(TraceWriter, WritesIntoTheCurrentFolderByABareName) {
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path("."));
    writeFile("trace", TraceWriter::EXISTING_REFUSE);
    std::filesystem::current_path(before);
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, TakesNamesAsLongAsTheSystemDoes) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    writeFile(folder.path(name), TraceWriter::EXISTING_REFUSE);
    EXPECT_EQ(folder.names(), names_t{name});
}

TEST(TraceWriter, GivesANewFileThePermissionsThatTheMaskLeaves) {
    const TemporaryFolder folder;
    const FileCreationMask mask(027);
    writeFile(folder.path("trace"), TraceWriter::EXISTING_REFUSE);
    EXPECT_EQ(permissionsOf(folder.path("trace")), 0640U);
}

TEST(TraceWriter, TwoAtOnceUnderOneNameDoNotMix) {
    const TemporaryFolder folder;
    TraceWriter first(folder.path("trace"));
    TraceWriter second(folder.path("trace"));
    first.write(CONTENT);
    second.write(OTHER);
    first.commit();
    EXPECT_EQ(errorOf([&] { second.commit(); }), EEXIST);
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

// ---- What is there already ---------------------------------------------------------------------

TEST(TraceWriter, RefusesAFileThatExists) {
    const TemporaryFolder folder;
    const std::string path = folder.write("trace", OTHER);
    expectEqual(thrownBy([&] { TraceWriter writer(path); }), {"File exists", 0, EEXIST});
    EXPECT_EQ(hex(folder.content("trace")), hex(OTHER));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, RefusesAFileThatAppearsWhileItWrites) {
    const TemporaryFolder folder;
    TraceWriter writer(folder.path("trace"));
    writer.write(CONTENT);
    folder.write("trace", OTHER);
    expectEqual(thrownBy([&] { writer.commit(); }), {"File exists", CONTENT.size(), EEXIST});
    EXPECT_EQ(hex(folder.content("trace")), hex(OTHER));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, ReplacesAFileInOneStep) {
    const TemporaryFolder folder;
    const Descriptor old(folder.write("trace", OTHER));
    TraceWriter writer(folder.path("trace"), TraceWriter::EXISTING_REPLACE);
    writer.write(CONTENT);
    writer.flush();
    EXPECT_EQ(hex(folder.content("trace")), hex(OTHER));
    writer.commit();
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
    EXPECT_EQ(hex(readAll(old)), hex(OTHER));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, KeepsTheOldFileWithoutACommit) {
    const TemporaryFolder folder;
    const std::string path = folder.write("trace", OTHER);
    { TraceWriter(path, TraceWriter::EXISTING_REPLACE).write(CONTENT); }
    EXPECT_EQ(hex(folder.content("trace")), hex(OTHER));
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, KeepsThePermissionsOfTheFileThatItReplaces) {
    const TemporaryFolder folder;
    const std::string path = folder.write("trace", OTHER);
    const FileCreationMask mask(077);
    for (const mode_t permissions : {0600U, 0664U, 0444U}) {
        ::chmod(path.c_str(), permissions);
        writeFile(path, TraceWriter::EXISTING_REPLACE);
        EXPECT_EQ(permissionsOf(path), permissions);
    }
}

TEST(TraceWriter, ReplacesNothingAsWell) {
    const TemporaryFolder folder;
    writeFile(folder.path("trace"), TraceWriter::EXISTING_REPLACE);
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

TEST(TraceWriter, KeepsALinkAndReplacesWhatItLeadsTo) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("inner"));
    folder.write("inner/trace", OTHER);
    std::filesystem::create_symlink("second", folder.path("link"));
    std::filesystem::create_symlink("inner/trace", folder.path("second"));
    writeFile(folder.path("link"), TraceWriter::EXISTING_REPLACE);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("second")));
    EXPECT_EQ(hex(folder.content("inner/trace")), hex(CONTENT));
}

TEST(TraceWriter, MakesTheFileThatALinkLeadsTo) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(folder.path("trace"), folder.path("link"));
    writeFile(folder.path("link"), TraceWriter::EXISTING_REFUSE);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

TEST(TraceWriter, FollowsALinkInTheCurrentFolderByABareName) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("trace", folder.path("link"));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path("."));
    writeFile("link", TraceWriter::EXISTING_REFUSE);
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

TEST(TraceWriter, FollowsAsManyLinksAsTheSystemDoes) {
    const TemporaryFolder folder;
    const auto name = [&](int i) { return folder.path("link" + std::to_string(i)); };
    std::filesystem::create_symlink("trace", name(1));
    for (int i = 2; i <= 41; ++i) {
        std::filesystem::create_symlink(name(i - 1), name(i));
    }
    EXPECT_EQ(errorOf([&] { TraceWriter writer(name(41)); }), ELOOP);
    writeFile(name(40), TraceWriter::EXISTING_REFUSE);
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

TEST(TraceWriter, RefusesAFileThatALinkLeadsTo) {
    const TemporaryFolder folder;
    folder.write("trace", OTHER);
    std::filesystem::create_symlink("trace", folder.path("link"));
    EXPECT_EQ(errorOf([&] { TraceWriter writer(folder.path("link")); }), EEXIST);
}

TEST(TraceWriter, RefusesAFileWithoutANameThatTheSystemGivesALinkTo) {
    const TemporaryFolder folder;
    const Descriptor file(folder.write("trace", OTHER), O_RDWR);
    const std::string link = "/dev/fd/" + std::to_string(file);
    std::filesystem::remove(folder.path("trace"));
    const std::string text = std::filesystem::read_symlink(link).filename().string();
    EXPECT_EQ(errorOf([&] { writeFile(link, TraceWriter::EXISTING_REPLACE); }), ENOENT);
    EXPECT_EQ(folder.names(), names_t{});

    folder.write(text, OTHER);  // which is another file
    EXPECT_EQ(errorOf([&] { writeFile(link, TraceWriter::EXISTING_REPLACE); }), ENOENT);
    EXPECT_EQ(folder.names(), names_t{text});
    EXPECT_EQ(hex(folder.content(text)), hex(OTHER));
}

TEST(TraceWriter, RefusesWhatCannotBeAFile) {
    const TemporaryFolder folder;
    folder.write("file", OTHER);
    std::filesystem::create_symlink("loop", folder.path("loop"));
    const struct {
        std::string path;
        int error;
    } cases[] = {
        {folder.path("."), EISDIR},
        {folder.path(""), EISDIR},
        {folder.path("missing/trace"), ENOENT},
        {folder.path("missing/"), ENOENT},
        {folder.path("file/trace"), ENOTDIR},
        {folder.path("loop"), ELOOP},
        {folder.path(std::string(256, 'n')), ENAMETOOLONG},
        {"", ENOENT},
        {folder.path(std::string("end\0more", 8)), EINVAL},
    };
    for (const auto& row : cases) {
        for (const auto existing : {TraceWriter::EXISTING_REFUSE, TraceWriter::EXISTING_REPLACE}) {
            EXPECT_EQ(errorOf([&] { TraceWriter writer(row.path, existing); }), row.error)
                << row.path;
        }
    }
    EXPECT_EQ(folder.names(), (names_t{"file", "loop"}));
}

TEST(TraceWriter, LeavesNothingWhenTheNameIsRefusedInTheEnd) {
    const TemporaryFolder folder;
    TraceWriter writer(folder.path("trace"), TraceWriter::EXISTING_REPLACE);
    writer.write(CONTENT);
    std::filesystem::create_directory(folder.path("trace"));
    const TraceException refused = thrownBy([&] { writer.commit(); });
    expectEqual(refused, {"Is a directory", CONTENT.size(), EISDIR});
    EXPECT_EQ(folder.names(), names_t{"trace"});
    expectEqual(thrownBy([&] { writer.commit(); }), refused);
}

// ---- Pipes, devices, descriptors ---------------------------------------------------------------

TEST(TraceWriter, WritesToADeviceAsItIs) {
    for (const auto existing : {TraceWriter::EXISTING_REFUSE, TraceWriter::EXISTING_REPLACE}) {
        writeFile("/dev/null", existing);
        EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    }
}

TEST(TraceWriter, WritesToANamedPipeAsItIs) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    const Descriptor reading(folder.path("pipe"), O_RDWR | O_NONBLOCK);
    writeFile(folder.path("pipe"), TraceWriter::EXISTING_REFUSE);
    EXPECT_EQ(hex(readAll(reading)), hex(CONTENT));
    EXPECT_EQ(folder.names(), names_t{"pipe"});
}

/// The number of the descriptor that is opened next.
int nextDescriptor() { return Descriptor("/dev/null"); }

TEST(TraceWriter, LeavesNoDescriptorToAProgramThatIsStarted) {
    const TemporaryFolder folder;
    for (const std::string& path : {folder.path("trace"), std::string("/dev/null")}) {
        const int fd = nextDescriptor();
        const TraceWriter writer(path);
        EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC) << path;
    }
}

TEST(TraceWriter, TakesTheDescriptorOfAStandardInputThatIsClosed) {
    const TemporaryFolder folder;
    const Descriptor kept(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    ::close(STDIN_FILENO);
    for (const bool commits : {false, true}) {
        TraceWriter writer(folder.path("trace"));
        EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), FD_CLOEXEC);
        writer.write(CONTENT);
        if (commits) {
            writer.commit();
        }
    }
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
    ::dup2(kept, STDIN_FILENO);
    EXPECT_EQ(folder.names(), names_t{"trace"});
}

TEST(TraceWriter, WritesToADescriptorUnderItsNameInTheSystem) {
    const Pipe pipe;
    writeFile("/dev/fd/" + std::to_string(pipe.writing()), TraceWriter::EXISTING_REFUSE);
    byteVec_t got(CONTENT.size());
    EXPECT_EQ(::read(pipe.reading(), got.data(), got.size()), 6);
    EXPECT_EQ(hex(got), hex(CONTENT));
}

TEST(TraceWriter, LeavesTheCallersDescriptorOpen) {
    Pipe pipe;
    {
        TraceWriter writer(pipe.writing());
        writer.write(CONTENT);
        writer.commit();
    }
    EXPECT_EQ(::write(pipe.writing(), OTHER.data(), OTHER.size()), 3);
    pipe.closeWriting();
    EXPECT_EQ(hex(readAll(pipe.reading())), hex(CONTENT) + ' ' + hex(OTHER));
}

TEST(TraceWriter, DropsWhatIsNotWrittenYet) {
    Pipe pipe;
    {
        TraceWriter writer(pipe.writing());
        writer.write(CONTENT);
        writer.flush();
        writer.write(OTHER);
    }
    pipe.closeWriting();
    EXPECT_EQ(hex(readAll(pipe.reading())), hex(CONTENT));
}

TEST(TraceWriter, WritesSmallPiecesInOneCall) {
    Pipe sockets(SOCK_SEQPACKET);  // each call is a packet
    const byteVec_t all = manyBytes(60000);
    TraceWriter writer(sockets.writing());
    for (size_t i = 0; i < all.size(); i += 100) {
        writer.write(&all[i], 100);
    }
    writer.flush();
    byteVec_t packet(0x10000);
    EXPECT_EQ(::read(sockets.reading(), packet.data(), packet.size()), 60000);
    packet.resize(all.size());
    EXPECT_TRUE(packet == all);
}

/// Writes `all` to `fd`, while another thread does something with what comes.
void writeBeside(int fd, const byteVec_t& all, const std::function<void()>& beside) {
    std::thread other(beside);
    TraceWriter writer(fd);
    writer.write(all);
    writer.commit();
    other.join();
}

TEST(TraceWriter, WaitsForAPipeThatDoesNotWaitByItself) {
    const Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.writing(), F_SETFL, O_NONBLOCK), 0);
    const byteVec_t all = manyBytes(1000000);
    byteVec_t got;
    writeBeside(pipe.writing(), all, [&] {
        while (got.size() < all.size()) {
            byteVec_t part(999);
            const ssize_t some = ::read(pipe.reading(), part.data(), part.size());
            got.insert(got.end(), part.begin(), part.begin() + some);
        }
    });
    EXPECT_TRUE(got == all);
}

TEST(TraceWriter, GoesOnAfterInterruptions) {
    Pipe pipe;
    const byteVec_t all = manyBytes(1000000);
    byteVec_t got(all.size());
    const Interruptions interruptions;
    writeBeside(pipe.writing(), all, [&] {
        interruptions.interrupt(1000);  // meanwhile the pipe gets full
        for (size_t done = 0; done < got.size();) {
            done += static_cast<size_t>(::read(pipe.reading(), &got[done], got.size() - done));
        }
    });
    EXPECT_TRUE(got == all);
}

void expectInterrupted(Pipe& pipe) {
    std::atomic<bool> stop = true;
    std::atomic<bool> ended = false;
    const Interruptions interruptions;
    std::thread signals([&] {
        while (!ended) {
            interruptions.interrupt();
            std::this_thread::yield();
        }
    });
    TraceWriter writer(pipe.writing());
    writer.setStop(&stop);
    const byteVec_t all = manyBytes(1000000);
    const TraceException interrupted = thrownBy([&] { writer.write(all); });
    ended = true;
    signals.join();
    EXPECT_EQ(interrupted.error(), EINTR);
}

TEST(TraceWriter, EndsAWriteThatWaitsWhenASignalComesAndItShallStop) {
    Pipe pipe;
    expectInterrupted(pipe);
}

TEST(TraceWriter, EndsItAlsoWhereThePipeDoesNotWaitByItself) {
    Pipe pipe;
    ASSERT_EQ(::fcntl(pipe.writing(), F_SETFL, O_NONBLOCK), 0);
    expectInterrupted(pipe);
}

// ---- Failures ----------------------------------------------------------------------------------

TEST(TraceWriter, ThrowsTheSameAgainOnceItFailed) {
    TraceWriter writer("/dev/full");
    writer.write(CONTENT);
    const TraceException full = thrownBy([&] { writer.flush(); });
    expectEqual(full, {"No space left on device", 0, ENOSPC});
    expectEqual(thrownBy([&] { writer.write(CONTENT); }), full);
    expectEqual(thrownBy([&] { writer.flush(); }), full);
    expectEqual(thrownBy([&] { writer.commit(); }), full);
}

TEST(TraceWriter, FailsInTheCommitWhenNothingWasWrittenBefore) {
    TraceWriter writer("/dev/full");
    writer.write(CONTENT);
    EXPECT_EQ(errorOf([&] { writer.commit(); }), ENOSPC);
}

TEST(TraceWriter, TellsHowManyBytesWereWrittenBeforeItFailed) {
    const TemporaryFolder folder;
    {
        TraceWriter writer(folder.path("trace"));
        const FileLimit limit(150000);
        const TraceException tooLong = thrownBy([&] { writer.write(manyBytes(200000)); });
        expectEqual(tooLong, {"File too large", 150000, EFBIG});
        expectEqual(thrownBy([&] { writer.commit(); }), tooLong);
    }
    EXPECT_EQ(folder.names(), names_t{});
}

TEST(TraceWriter, TellsThatNobodyReadsAPipe) {
    auto* const handler = ::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    TraceWriter writer(pipe.writing());
    writer.write(CONTENT);
    writer.flush();
    pipe.closeReading();
    writer.write(OTHER);
    expectEqual(thrownBy([&] { writer.flush(); }), {"Broken pipe", CONTENT.size(), EPIPE});
    ::signal(SIGPIPE, handler);
}

TEST(TraceWriter, RefusesADescriptorThatIsNone) {
    TraceWriter writer(-1);
    writer.write(CONTENT);
    EXPECT_EQ(errorOf([&] { writer.flush(); }), EBADF);
}

TEST(TraceWriter, WritesNothingBehindTheCommit) {
    const TemporaryFolder folder;
    TraceWriter writer(folder.path("trace"));
    writer.commit();
    expectEqual(thrownBy([&] { writer.write(CONTENT); }), {"written behind the end", 0, 0});
    expectEqual(thrownBy([&] { writer.commit(); }), {"written behind the end", 0, 0});
    EXPECT_EQ(hex(folder.content("trace")), "");
}

TEST(TraceWriter, LetsAFileBeReadBeforeItHasItsName) {
    const TemporaryFolder folder;
    TraceWriter writer(folder.path("trace"));
    writer.write(CONTENT);
    writer.flush();
    ASSERT_EQ(::lseek(writer.descriptor(), 0, SEEK_SET), 0);
    EXPECT_EQ(hex(readAll(writer.descriptor())), hex(CONTENT));
    writer.commit();
    EXPECT_EQ(hex(folder.content("trace")), hex(CONTENT));
}

}  // namespace
