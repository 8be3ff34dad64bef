// Saving changes only the file's contents: links, mode, owner and other names
// of the file stay as they were, devices are refused, other programs' locks
// are honoured, and a stopped save leaves nothing behind.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "values/Log.h"
#include "formats/DocumentIO.h"
#include "formats/DocumentLock.h"
#include "formats/FileErrors.h"
#include "formats/SaveInterruption.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

class SafeSave : public test::ScratchFolderTest {
  protected:
    // The message of a failed save, or "" when it succeeded.
    std::string saveFailure(const fs::path& path, std::string_view bytes = "new\n") {
        try {
            writeFileAtomically(path, bytes);
        } catch (const FileWriteError& e) {
            return e.what();
        }
        return {};
    }
    struct stat info(const fs::path& p) {
        struct stat st = {};
        EXPECT_EQ(::lstat(p.c_str(), &st), 0) << p;
        return st;
    }
};

TEST_F(SafeSave, SymbolicLinksAreFollowedAndKept) {
    fs::create_directories(dir_ / "real");
    file("real/book.csv", "old\n");
    fs::create_symlink("real/book.csv", dir_ / "link.csv");
    fs::create_symlink("link.csv", dir_ / "chain.csv");
    fs::create_symlink("real/new.csv", dir_ / "dangling.csv");
    for (const char* name : {"link.csv", "chain.csv"}) {
        EXPECT_EQ(saveFailure(dir_ / name, name), "");
        EXPECT_TRUE(fs::is_symlink(dir_ / name));
        EXPECT_EQ(slurp(dir_ / "real/book.csv"), name);
    }
    EXPECT_EQ(saveFailure(dir_ / "dangling.csv"), "");
    EXPECT_EQ(slurp(dir_ / "real/new.csv"), "new\n");
    // The temporary copy was made beside the real file and is gone.
    EXPECT_EQ(entries(), (std::vector<std::string>{"chain.csv", "dangling.csv", "link.csv", "real"}));

    fs::create_symlink("loop.csv", dir_ / "loop.csv");
    EXPECT_NE(saveFailure(dir_ / "loop.csv").find("loop"), std::string::npos);
}

TEST_F(SafeSave, ModeAndOwnerAreKept) {
    fs::path p = file("secret.csv", "old\n");
    ASSERT_EQ(::chmod(p.c_str(), 0600), 0);
    // Only a privileged process can give a file away; elsewhere the mode alone is checked.
    bool privileged = ::geteuid() == 0 && ::chown(p.c_str(), 1234, 2345) == 0;
    EXPECT_EQ(saveFailure(p), "");
    struct stat st = info(p);
    EXPECT_EQ(st.st_mode & 07777, 0600u);
    if (privileged) {
        EXPECT_EQ(st.st_uid, 1234u);
        EXPECT_EQ(st.st_gid, 2345u);
    }
    EXPECT_EQ(slurp(p), "new\n");
}

TEST_F(SafeSave, OtherNamesOfTheFileSeeTheNewContents) {
    fs::path p = file("book.csv", "old\n");
    fs::create_hard_link(p, dir_ / "alias.csv");
    ino_t inode = info(p).st_ino;
    EXPECT_EQ(saveFailure(p, "longer new contents\n"), "");
    EXPECT_EQ(slurp(dir_ / "alias.csv"), "longer new contents\n");
    EXPECT_EQ(saveFailure(p, "x\n"), ""); // shorter: the old tail is cut off
    EXPECT_EQ(slurp(dir_ / "alias.csv"), "x\n");
    EXPECT_EQ(info(p).st_ino, inode);
    EXPECT_EQ(entries(), (std::vector<std::string>{"alias.csv", "book.csv"}));
}

TEST_F(SafeSave, DevicesAndPipesAreRefusedAndLeftAlone) {
    ASSERT_EQ(::mkfifo((dir_ / "pipe.csv").c_str(), 0644), 0);
    fs::create_symlink("/dev/null", dir_ / "null.csv");
    for (const char* name : {"pipe.csv", "null.csv"})
        EXPECT_NE(saveFailure(dir_ / name).find("device, pipe or socket"), std::string::npos) << name;
    EXPECT_TRUE(S_ISFIFO(info(dir_ / "pipe.csv").st_mode));
    EXPECT_TRUE(S_ISCHR(info("/dev/null").st_mode));
    EXPECT_EQ(entries(), (std::vector<std::string>{"null.csv", "pipe.csv"}));
}

TEST_F(SafeSave, TemporariesOfAnInterruptedSaveAreRemovedByTheNextSave) {
    file("book.xlsx", "old");
    file(".book.xlsx.sumora-123456.tmp", "half");
    file(".book.xlsx.sumora-notdigits.tmp", "kept");
    file(".other.xlsx.sumora-1.tmp", "kept");
    EXPECT_EQ(saveFailure(dir_ / "book.xlsx"), "");
    EXPECT_EQ(entries(), (std::vector<std::string>{".book.xlsx.sumora-notdigits.tmp",
                                                   ".other.xlsx.sumora-1.tmp", "book.xlsx"}));
}

TEST_F(SafeSave, LocksOfOtherProgramsAreHonoured) {
    const struct {
        const char* lockLine;
        bool heldByFlock;   // a live Sumora process holds it
        const char* holder; // named in the message; nullptr: the save goes ahead
    } cases[] = {
        {"Jane Doe,jane,host,25.11.2026 10:00,file:///home/jane/.config/office;", false, "Jane Doe"},
        {",jane,host,25.11.2026 10:00,file:///home/jane;", false, "jane"},
        {"Sumora,bob,host,25.11.2026 10:00,sumora:99999;", true, "another Sumora"},
        {"Sumora,bob,host,25.11.2026 10:00,sumora:99999;", false, nullptr}, // left by a killed process
        {"", false, nullptr},
    };
    fs::path book = file("book.csv", "old\n");
    fs::path lockFile = DocumentLock::lockFilePath(book);
    for (const auto& c : cases) {
        file(lockFile.filename().string(), c.lockLine);
        int fd = ::open(lockFile.c_str(), O_RDWR);
        if (c.heldByFlock) {
            ASSERT_EQ(::flock(fd, LOCK_EX), 0);
        }
        std::string failure = saveFailure(book, c.lockLine);
        ::close(fd);
        if (c.holder) {
            EXPECT_NE(failure.find(std::string("in use by ") + c.holder), std::string::npos) << failure;
            EXPECT_EQ(slurp(book), "old\n");
            EXPECT_TRUE(fs::exists(lockFile));
        } else {
            EXPECT_EQ(failure, "");
            EXPECT_EQ(slurp(book), c.lockLine);
            EXPECT_FALSE(fs::exists(lockFile)); // taken over, then released
        }
    }
}

TEST_F(SafeSave, StoppingASaveRemovesItsFiles) {
    for (int sig : {SIGTERM, SIGINT, SIGHUP}) {
        fs::path temp = file(".book.csv.sumora-1.tmp", "half");
        pid_t child = ::fork();
        if (child == 0) {
            installSaveSignalHandlers();
            InterruptionCleanup guard(temp.string());
            ::raise(sig);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 128 + sig);
        EXPECT_FALSE(fs::exists(temp)) << sig;
    }
}

} // namespace
} // namespace sumora
