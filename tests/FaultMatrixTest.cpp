// Every failure of every system call a face or button makes, one row per (subject, call site,
// fault): the exact log records and result, the state kept after the failure, the retries on EINTR,
// and no descriptor left open once the subject is gone. A new face joins by declaring its sites in
// subjects() and adding one row per cell; MatrixIsComplete then demands every cell.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AvLedTestSupport.h"
#include "BoardFixture.h"
#include "ButtonEvents.h"
#include "FaultMatrixSupport.h"
#include "LogCapture.h"
#include "SysfsTestSupport.h"
#include "orva/platform.h"
#include "orva/sim/Mdio.h"
#include "orva/sim/Programs.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/Uartcli.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPhy.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/MulticolorLedFace.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RgbLedFace.h"
#include "orva_gpio_utils/RingButton.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace {

using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::Mdio;
using orva::sim::MdioAccess;
using orva::sim::ProgramOutcome;
using orva::sim::SharedMemory;
using orva::test::Expected;
using orva::test::pressed;
using orva::test::RecordingObserver;
using orva::test::matrix::Context;
using orva::test::matrix::Row;
using orva::test::matrix::Subject;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- journal views ----

std::vector<JournalEntry> callsOn(Context& c, const std::string& path, Call call) {
    std::vector<JournalEntry> selected;
    for (const JournalEntry& entry : c.sandbox().journal(path)) {
        if (entry.call == call) selected.push_back(entry);
    }
    return selected;
}

// The descriptor the last successful open of path handed out.
int openedFd(Context& c, const std::string& path) {
    int fd = -1;
    for (const JournalEntry& entry : callsOn(c, path, Call::Open)) {
        if (entry.result > 0) fd = static_cast<int>(entry.result);
    }
    return fd;
}

std::string hex(int fd) { return orva::utils::format("0x%x", fd); }

const Expected kBaseLedInitFailed{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"};
const Expected kBaseLedWriteFailed{"src/BaseLed", "setValue", 3, 0, "Failed to write value"};
const Expected kBaseLedReadFailed{"src/BaseLed", "save", 3, 0, "Failed to read value"};

// ---- buttons on a "/proc/gpio/" entry ----

const Expected kButtonInitFailed{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"};
const Expected kButtonReadFailed{"src/BaseButton", "service", 3, 0, "Failed to read button GPIO"};

Expected entryOpenFailed(const std::string& path) {
    return {"src/BaseGPIOResetButton", "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}

Expected entryReadFailed(int fd, int count, int error) {
    return {"src/BaseGPIOResetButton", "readValue", 3, error,
            "Failed to read from proc entry " + hex(fd) + ", num bytes read " + std::to_string(count)};
}

// The open of a button's entry fails: init fails with both records, and the button never polls.
template <class Button>
void buttonOpenFails(Context& c, const std::string& entry, int expectedFd, int expectedError) {
    RecordingObserver observer;
    {
        Button button;
        EXPECT_FALSE(button.init(&observer, -1));
        EXPECT_THAT(c.log.records(), ElementsAre(entryOpenFailed(entry), kButtonInitFailed));
        const auto opens = callsOn(c, entry, Call::Open);
        ASSERT_EQ(opens.size(), 1u);
        EXPECT_EQ(opens[0].result, expectedFd);
        EXPECT_EQ(opens[0].error, expectedError);
        c.sandbox().clearJournal();
    }
    // The destructor closes the descriptor only when it is not negative: 0 is closed, -1 is not.
    const auto closes = c.sandbox().journal();
    if (expectedFd == 0) {
        ASSERT_EQ(closes.size(), 1u);
        EXPECT_EQ(closes[0].call, Call::Close);
        EXPECT_EQ(closes[0].fd, 0);
    } else {
        EXPECT_THAT(closes, IsEmpty());
    }
    EXPECT_THAT(observer.events, IsEmpty());
}

template <class Button>
void addButtonRows(std::vector<Row>& rows, const std::string& name, uint32_t sysid, const std::string& entry) {
    rows.push_back({name, "open", "EIO", sysid, false, [entry](Context& c) {
                        c.sandbox().failCalls(entry, Call::Open, EIO);
                        buttonOpenFails<Button>(c, entry, -1, EIO);
                    }});
    rows.push_back({name, "open", "EINTRRetried", sysid, false, [entry](Context& c) {
                        c.sandbox().failCalls(entry, Call::Open, EINTR, 2);
                        RecordingObserver observer;
                        Button button;
                        EXPECT_TRUE(button.init(&observer, -1));
                        const auto opens = callsOn(c, entry, Call::Open);
                        ASSERT_EQ(opens.size(), 3u);
                        EXPECT_EQ(opens[0].error, EINTR);
                        EXPECT_EQ(opens[1].error, EINTR);
                        EXPECT_GT(opens[2].result, 0);
                        c.sandbox().setValue(entry, "0\n");
                        EXPECT_TRUE(button.service());
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({name, "open", "DescriptorZero", sysid, false, [entry](Context& c) {
                        c.sandbox().zeroDescriptor(entry);
                        buttonOpenFails<Button>(c, entry, 0, 0);
                    }});
    rows.push_back({name, "open", "MissingFile", sysid, false, [entry](Context& c) {
                        c.sandbox().removeAttribute(entry);
                        buttonOpenFails<Button>(c, entry, -1, EACCES);
                    }});
    rows.push_back({name, "read", "EIO", sysid, false, [entry](Context& c) {
                        RecordingObserver observer;
                        Button button;
                        ASSERT_TRUE(button.init(&observer, -1));
                        c.sandbox().setValue(entry, "0\n");
                        ASSERT_TRUE(button.service());
                        c.sandbox().failCalls(entry, Call::Read, EIO);
                        c.board.advanceMs(30);
                        EXPECT_FALSE(button.service());
                        EXPECT_THAT(c.log.records(), ElementsAre(entryReadFailed(openedFd(c, entry), -1, EIO),
                                                                 kButtonReadFailed));
                        // The press in progress is kept: no second press event on the next poll.
                        c.board.advanceMs(30);
                        EXPECT_TRUE(button.service());
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                    }});
    rows.push_back({name, "read", "EINTRRetried", sysid, false, [entry](Context& c) {
                        RecordingObserver observer;
                        Button button;
                        ASSERT_TRUE(button.init(&observer, -1));
                        c.sandbox().setValue(entry, "0\n");
                        c.sandbox().failCalls(entry, Call::Read, EINTR, 3);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(button.service());
                        const auto reads = callsOn(c, entry, Call::Read);
                        ASSERT_EQ(reads.size(), 4u);
                        EXPECT_EQ(reads[2].error, EINTR);
                        EXPECT_EQ(reads[3].bytes, "0\n");
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({name, "read", "EmptyRead", sysid, false, [entry](Context& c) {
                        RecordingObserver observer;
                        Button button;
                        ASSERT_TRUE(button.init(&observer, -1));
                        c.sandbox().setValue(entry, "0\n");
                        c.sandbox().emptyRead(entry);
                        errno = 0;
                        EXPECT_FALSE(button.service());
                        EXPECT_THAT(c.log.records(), ElementsAre(entryReadFailed(openedFd(c, entry), 0, 0),
                                                                 kButtonReadFailed));
                        EXPECT_THAT(observer.events, IsEmpty());
                        EXPECT_TRUE(button.service());
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                    }});
    rows.push_back({name, "close", "EIO", sysid, false, [entry](Context& c) {
                        {
                            RecordingObserver observer;
                            Button button;
                            ASSERT_TRUE(button.init(&observer, -1));
                            c.sandbox().failCalls(entry, Call::Close, EIO);
                            c.sandbox().clearJournal();
                        }
                        // Nothing to report from a destructor: the failed close is the only call.
                        const auto& journal = c.sandbox().journal();
                        ASSERT_EQ(journal.size(), 1u);
                        EXPECT_EQ(journal[0].call, Call::Close);
                        EXPECT_EQ(journal[0].error, EIO);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
}

// ---- the reset button in System V shared memory ----

constexpr int kSegmentKey = orva::sim::kResetButtonSegmentKey;

Expected shmemInitFailed(const std::string& text) { return {"src/ResetShmemButtonCase", "initGPIO", 3, 0, text}; }
Expected shmemDetachFailed(const std::string& reason) {
    return {"src/ResetShmemButtonCase", "~ResetShmemButtonCase", 6, 0, "shared memory detach failed (" + reason + ")"};
}

std::vector<std::string> shmCallNames(Context& c) {
    std::vector<std::string> names;
    for (const JournalEntry& entry : c.sandbox().journal()) {
        if (entry.call == Call::Shm) names.push_back(entry.path);
    }
    return names;
}

// A failed set-up step: init fails with the step's message, and the destructor detaches (which
// fails with EINVAL when nothing was attached).
void shmemSetupFails(Context& c, const std::string& message, const std::vector<std::string>& setupCalls,
                     bool attached) {
    RecordingObserver observer;
    {
        ResetShmemButtonCase button(false);
        EXPECT_FALSE(button.init(&observer, -1));
        EXPECT_THAT(c.log.records(), ElementsAre(shmemInitFailed(message), kButtonInitFailed));
        EXPECT_EQ(shmCallNames(c), setupCalls);
        EXPECT_EQ(SharedMemory::attachments(kSegmentKey), attached ? 2u : 1u);
        c.log.clear();
    }
    if (attached) {
        EXPECT_THAT(c.log.records(), IsEmpty());
    } else {
        EXPECT_THAT(c.log.records(), ElementsAre(shmemDetachFailed("Invalid argument")));
    }
    EXPECT_EQ(shmCallNames(c).back(), "shmdt");
    EXPECT_EQ(SharedMemory::attachments(kSegmentKey), 1u);
    EXPECT_THAT(observer.events, IsEmpty());
}

void addShmemRows(std::vector<Row>& rows) {
    const std::string name = "ResetShmemButtonCase";
    rows.push_back({name, "shmget", "Fails", 0xA564, false, [](Context& c) {
                        c.sandbox().failCalls("shmget", Call::Shm, ENOENT);
                        shmemSetupFails(c, "failed to get shared memory", {"shmget"}, false);
                    }});
    rows.push_back({name, "shmat", "Fails", 0xA564, false, [](Context& c) {
                        c.sandbox().failCalls("shmat", Call::Shm, EACCES);
                        shmemSetupFails(c, "Failed to attach shared memory", {"shmget", "shmat"}, false);
                    }});
    rows.push_back({name, "shmctl", "Fails", 0xA564, false, [](Context& c) {
                        c.sandbox().failCalls("shmctl", Call::Shm, EIDRM);
                        shmemSetupFails(c, "Failed to get shared memory size", {"shmget", "shmat", "shmctl"}, true);
                    }});
    rows.push_back({name, "shmdt", "Fails", 0xA564, false, [](Context& c) {
                        {
                            RecordingObserver observer;
                            ResetShmemButtonCase button(false);
                            ASSERT_TRUE(button.init(&observer, -1));
                            c.sandbox().failCalls("shmdt", Call::Shm, ENOMEM);
                        }
                        // Only information: the detach failure names the errno.
                        EXPECT_THAT(c.log.records(), ElementsAre(shmemDetachFailed("Cannot allocate memory")));
                        EXPECT_EQ(shmCallNames(c).back(), "shmdt");
                    }});
}

// ---- the reset button as the client reaches it: the board picks the proc entry or the segment ----

const Expected kResetCaseInitFailed{"src/ResetButtonCase", "init", 3, 0, "Failed to initialize reset button case"};

void addResetCaseRows(std::vector<Row>& rows) {
    const std::string n = "ResetButtonCase";
    const std::string entry = "/proc/gpio/reset_btn";
    // The proc entry of 0xA533 cannot be opened: the case is not initialised and does not poll.
    const auto openFails = [entry](Context& c, const std::function<void()>& inject, long long result, int error) {
        inject();
        RecordingObserver observer;
        ResetButtonCase button;
        EXPECT_FALSE(button.init(&observer, 500));
        EXPECT_THAT(c.log.records(), ElementsAre(entryOpenFailed(entry), kButtonInitFailed, kResetCaseInitFailed));
        const auto opens = callsOn(c, entry, Call::Open);
        ASSERT_EQ(opens.size(), 1u);
        EXPECT_EQ(opens[0].result, result);
        EXPECT_EQ(opens[0].error, error);
        c.sandbox().clearJournal();
        EXPECT_FALSE(button.service());
        EXPECT_THAT(orva::test::calls(c.sandbox().journal(), Call::Read), IsEmpty());
    };
    rows.push_back({n, "open", "EIO", 0xA533, false, [openFails, entry](Context& c) {
                        openFails(c, [&c, &entry] { c.sandbox().failCalls(entry, Call::Open, EIO); }, -1, EIO);
                    }});
    rows.push_back({n, "open", "EINTRRetried", 0xA533, false, [entry](Context& c) {
                        c.sandbox().failCalls(entry, Call::Open, EINTR, 2);
                        RecordingObserver observer;
                        ResetButtonCase button;
                        EXPECT_TRUE(button.init(&observer, 500));
                        EXPECT_EQ(callsOn(c, entry, Call::Open).size(), 3u);
                        c.sandbox().setValue(entry, "0\n");
                        EXPECT_TRUE(button.service());
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "open", "DescriptorZero", 0xA533, false, [openFails, entry](Context& c) {
                        openFails(c, [&c, &entry] { c.sandbox().zeroDescriptor(entry); }, 0, 0);
                    }});
    rows.push_back({n, "open", "MissingFile", 0xA533, false, [openFails, entry](Context& c) {
                        openFails(c, [&c, &entry] { c.sandbox().removeAttribute(entry); }, -1, EACCES);
                    }});
    // A failed poll of the entry comes back from service; the next good poll goes on.
    const auto readFails = [entry](Context& c, const std::function<void()>& inject, int error, int count) {
        RecordingObserver observer;
        ResetButtonCase button;
        ASSERT_TRUE(button.init(&observer, 500));
        const int fd = openedFd(c, entry);
        c.sandbox().setValue(entry, "0\n");
        inject();
        errno = 0;
        EXPECT_FALSE(button.service());
        EXPECT_THAT(c.log.records(), ElementsAre(entryReadFailed(fd, count, error), kButtonReadFailed));
        EXPECT_THAT(observer.events, IsEmpty());
        EXPECT_TRUE(button.service());
        EXPECT_THAT(observer.events, ElementsAre(pressed()));
    };
    rows.push_back({n, "read", "EIO", 0xA533, false, [readFails, entry](Context& c) {
                        readFails(c, [&c, &entry] { c.sandbox().failCalls(entry, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read", "EINTRRetried", 0xA533, false, [entry](Context& c) {
                        RecordingObserver observer;
                        ResetButtonCase button;
                        ASSERT_TRUE(button.init(&observer, 500));
                        c.sandbox().setValue(entry, "0\n");
                        c.sandbox().failCalls(entry, Call::Read, EINTR, 2);
                        EXPECT_TRUE(button.service());
                        EXPECT_EQ(callsOn(c, entry, Call::Read).size(), 3u);
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "read", "EmptyRead", 0xA533, false, [readFails, entry](Context& c) {
                        readFails(c, [&c, &entry] { c.sandbox().emptyRead(entry); }, 0, 0);
                    }});
    // The segment of 0xA564 cannot be found: the same three records, and the held button detaches
    // nothing at destruction but says so.
    rows.push_back({n, "shmget", "Fails", 0xA564, false, [](Context& c) {
                        c.sandbox().failCalls("shmget", Call::Shm, ENOENT);
                        RecordingObserver observer;
                        {
                            ResetButtonCase button;
                            EXPECT_FALSE(button.init(&observer, 500));
                            EXPECT_THAT(c.log.records(),
                                        ElementsAre(shmemInitFailed("failed to get shared memory"), kButtonInitFailed,
                                                    kResetCaseInitFailed));
                            EXPECT_FALSE(button.service());
                            c.log.clear();
                        }
                        EXPECT_THAT(c.log.records(), ElementsAre(shmemDetachFailed("Invalid argument")));
                        EXPECT_EQ(SharedMemory::attachments(kSegmentKey), 1u);
                        EXPECT_THAT(observer.events, IsEmpty());
                    }});
}

// ---- LED faces that keep one brightness file open ----

// One such face: its file, source, the board, and what a value write looks like. A write row sets
// fromUser (which succeeds), injects the fault, then asks for toUser, whose device text is toText.
struct KeptFile {
    std::string subject;
    uint32_t sysid;
    std::string path;
    std::string source;
    int fromUser;
    std::string fromText;
    int toUser;
    std::string toText;
    // Called right after a successful init (colours, ...).
    std::function<void(BaseLed&)> prepare;
};

Expected keptOpenFailed(const KeptFile& f) {
    return {f.source, "initGPIO", 3, 0, "Failed to open proc entry '" + f.path + "'"};
}

Expected keptWriteFailed(const KeptFile& f, const char* function, const std::string& text, int fd, int error) {
    return {f.source, function, 3, error, "Failed to write '" + text + "' to proc entry " + hex(fd)};
}

// The open fails: init fails with both records, the face stays uninitialised, and the destructor
// closes the descriptor only when it is not negative (0 is closed, -1 is not).
template <class Face>
void keptOpenFails(Context& c, const KeptFile& f, int expectedFd, int expectedError) {
    {
        Face face;
        EXPECT_FALSE(face.init("led"));
        EXPECT_THAT(c.log.records(), ElementsAre(keptOpenFailed(f), kBaseLedInitFailed));
        const auto opens = callsOn(c, f.path, Call::Open);
        ASSERT_EQ(opens.size(), 1u);
        EXPECT_EQ(opens[0].result, expectedFd);
        EXPECT_EQ(opens[0].error, expectedError);
        c.log.clear();
        EXPECT_FALSE(face.setValue(10, false));  // still not initialised
        EXPECT_THAT(c.log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
        c.sandbox().clearJournal();
    }
    const auto& journal = c.sandbox().journal();
    if (expectedFd == 0) {
        ASSERT_EQ(journal.size(), 1u);
        EXPECT_EQ(journal[0].call, Call::Close);
        EXPECT_EQ(journal[0].fd, 0);
    } else {
        EXPECT_THAT(journal, IsEmpty());
    }
}

template <class Face>
void keptOpenRetried(Context& c, const KeptFile& f) {
    c.sandbox().failCalls(f.path, Call::Open, EINTR, 2);
    Face face;
    EXPECT_TRUE(face.init("led"));
    const auto opens = callsOn(c, f.path, Call::Open);
    ASSERT_EQ(opens.size(), 3u);
    EXPECT_EQ(opens[0].error, EINTR);
    EXPECT_EQ(opens[1].error, EINTR);
    EXPECT_GT(opens[2].result, 0);
    if (f.prepare) f.prepare(face);
    EXPECT_TRUE(face.setValue(f.toUser, false));
    EXPECT_EQ(c.board.value(f.path), f.toText);
    EXPECT_THAT(c.log.records(), IsEmpty());
}

// A value write fails: false with the face's record and BaseLed's, the file holds fileAfter, and
// the face keeps fromUser (asking for it again writes nothing).
template <class Face>
void keptWriteFails(Context& c, const KeptFile& f, const std::function<void()>& inject, int error,
                    const std::string& fileAfter) {
    Face face;
    ASSERT_TRUE(face.init("led"));
    if (f.prepare) f.prepare(face);
    ASSERT_TRUE(face.setValue(f.fromUser, false));
    ASSERT_EQ(c.board.value(f.path), f.fromText);
    c.log.clear();
    inject();
    errno = 0;  // a short write sets no errno: the record carries what errno held
    EXPECT_FALSE(face.setValue(f.toUser, false));
    EXPECT_THAT(c.log.records(),
                ElementsAre(keptWriteFailed(f, "writeValue", f.toText, openedFd(c, f.path), error), kBaseLedWriteFailed));
    EXPECT_EQ(c.board.value(f.path), fileAfter);
    c.sandbox().clearJournal();
    EXPECT_TRUE(face.setValue(f.fromUser, false));
    EXPECT_THAT(c.sandbox().journal(), IsEmpty());
}

template <class Face>
void keptWriteRetried(Context& c, const KeptFile& f) {
    Face face;
    ASSERT_TRUE(face.init("led"));
    if (f.prepare) f.prepare(face);
    c.sandbox().failCalls(f.path, Call::Write, EINTR, 2);
    c.sandbox().clearJournal();
    EXPECT_TRUE(face.setValue(f.toUser, false));
    const auto writes = callsOn(c, f.path, Call::Write);
    ASSERT_EQ(writes.size(), 3u);
    EXPECT_EQ(writes[0].error, EINTR);
    EXPECT_EQ(writes[1].error, EINTR);
    EXPECT_EQ(writes[2].bytes, orva::test::withNul(f.toText));
    EXPECT_EQ(writes[2].result, static_cast<long long>(f.toText.size() + 1));
    EXPECT_EQ(c.board.value(f.path), f.toText);
    EXPECT_THAT(c.log.records(), IsEmpty());
}

// A read for save() fails: false with the face's record and BaseLed's; no save is pending, so
// restore has nothing to do.
template <class Face>
void keptReadFails(Context& c, const KeptFile& f, const std::function<void()>& inject, int error, int count) {
    c.sandbox().setValue(f.path, f.fromText);
    Face face;
    ASSERT_TRUE(face.init("led"));
    if (f.prepare) f.prepare(face);
    c.log.clear();
    inject();
    errno = 0;  // an empty read sets no errno
    EXPECT_FALSE(face.save());
    EXPECT_THAT(c.log.records(),
                ElementsAre(Expected{f.source, "readValue", 3, error,
                                     "Failed to read from proc entry " + hex(openedFd(c, f.path)) +
                                         ", num bytes read " + std::to_string(count)},
                            kBaseLedReadFailed));
    c.sandbox().clearJournal();
    EXPECT_TRUE(face.restore());
    EXPECT_THAT(c.sandbox().journal(), IsEmpty());
}

template <class Face>
void keptReadRetried(Context& c, const KeptFile& f) {
    Face face;
    ASSERT_TRUE(face.init("led"));
    c.sandbox().setValue(f.path, "250");
    c.sandbox().failCalls(f.path, Call::Read, EINTR, 2);
    c.sandbox().clearJournal();
    int value = -7;
    EXPECT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 250);
    const auto reads = callsOn(c, f.path, Call::Read);
    ASSERT_EQ(reads.size(), 3u);
    EXPECT_EQ(reads[1].error, EINTR);
    EXPECT_EQ(reads[2].bytes, "250\n");
    EXPECT_THAT(c.log.records(), IsEmpty());
}

// A failing close in the destructor is not reported.
template <class Face>
void keptCloseFails(Context& c, const KeptFile& f) {
    {
        Face face;
        ASSERT_TRUE(face.init("led"));
        c.sandbox().failCalls(f.path, Call::Close, EIO);
        c.sandbox().clearJournal();
    }
    const auto& journal = c.sandbox().journal();
    ASSERT_EQ(journal.size(), 1u);
    EXPECT_EQ(journal[0].call, Call::Close);
    EXPECT_EQ(journal[0].path, f.path);
    EXPECT_EQ(journal[0].error, EIO);
    EXPECT_THAT(c.log.records(), IsEmpty());
}

// Rows of the open, value write, read (when the face reads its file) and close sites.
template <class Face>
void addKeptFileRows(std::vector<Row>& rows, const KeptFile& f, bool readsFile) {
    const std::string& n = f.subject;
    rows.push_back({n, "open", "EIO", f.sysid, false, [f](Context& c) {
                        c.sandbox().failCalls(f.path, Call::Open, EIO);
                        keptOpenFails<Face>(c, f, -1, EIO);
                    }});
    rows.push_back({n, "open", "EINTRRetried", f.sysid, false, [f](Context& c) { keptOpenRetried<Face>(c, f); }});
    rows.push_back({n, "open", "DescriptorZero", f.sysid, false, [f](Context& c) {
                        c.sandbox().zeroDescriptor(f.path);
                        keptOpenFails<Face>(c, f, 0, 0);
                    }});
    rows.push_back({n, "open", "MissingFile", f.sysid, false, [f](Context& c) {
                        c.sandbox().removeAttribute(f.path);
                        keptOpenFails<Face>(c, f, -1, EACCES);
                    }});
    rows.push_back({n, "write", "EIO", f.sysid, false, [f](Context& c) {
                        keptWriteFails<Face>(
                            c, f, [&c, &f] { c.sandbox().failCalls(f.path, Call::Write, EIO); }, EIO, f.fromText);
                    }});
    rows.push_back({n, "write", "EINTRRetried", f.sysid, false, [f](Context& c) { keptWriteRetried<Face>(c, f); }});
    rows.push_back({n, "write", "ShortWrite", f.sysid, false, [f](Context& c) {
                        // The file keeps the one byte the write took.
                        keptWriteFails<Face>(
                            c, f, [&c, &f] { c.sandbox().shortWrite(f.path, 1); }, 0, f.toText.substr(0, 1));
                    }});
    if (readsFile) {
        rows.push_back({n, "read", "EIO", f.sysid, false, [f](Context& c) {
                            keptReadFails<Face>(
                                c, f, [&c, &f] { c.sandbox().failCalls(f.path, Call::Read, EIO); }, EIO, -1);
                        }});
        rows.push_back({n, "read", "EINTRRetried", f.sysid, false, [f](Context& c) { keptReadRetried<Face>(c, f); }});
        rows.push_back({n, "read", "EmptyRead", f.sysid, false, [f](Context& c) {
                            keptReadFails<Face>(c, f, [&c, &f] { c.sandbox().emptyRead(f.path); }, 0, 0);
                        }});
    }
    rows.push_back({n, "close", "EIO", f.sysid, false, [f](Context& c) { keptCloseFails<Face>(c, f); }});
}

// The front light of 0xA533: user 50 is "49", 80 is "79".
const KeptFile kFrontLight{"LedFace", 0xA533, "/sys/class/backlight/3.pwm_bl/brightness", "src/LedFace", 50, "49",
                           80, "79", nullptr};

// The green status LED of 0xA571, green on black: the file shows the value (user 80 is 204, 40 is
// 102 of 0..255).
const KeptFile kGreenLed{"GreenLedFace", 0xA571, "/sys/class/leds/G/brightness", "src/GreenLedFace", 80, "204",
                         40, "102", [](BaseLed& led) {
                             ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
                         }};

// The glow light of 0xA5A6 (0..218): user 50 is 109, 80 is 174.
const KeptFile kGlow{"LedGlow", 0xA5A6, "/sys/class/backlight/bogus_bus:pwm_bl@0/brightness", "src/LedGlow", 50,
                     "109", 80, "174", nullptr};

// The green LED's colour change writes too: black on green shows 255 - value.
void greenColourWriteFails(Context& c, const std::function<void()>& inject, int error, const std::string& fileAfter) {
    GreenLedFace led;
    ASSERT_TRUE(led.init("led"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(80, false));
    c.log.clear();
    inject();
    errno = 0;
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    EXPECT_THAT(c.log.records(),
                ElementsAre(keptWriteFailed(kGreenLed, "setColor", "51", openedFd(c, kGreenLed.path), error)));
    EXPECT_EQ(c.board.value(kGreenLed.path), fileAfter);
    // The new pair is kept: asking for it again writes nothing.
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_BLACK);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_GREEN);
    c.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    EXPECT_THAT(c.sandbox().journal(), IsEmpty());
}

void addGreenColourRows(std::vector<Row>& rows) {
    const std::string& path = kGreenLed.path;
    rows.push_back({"GreenLedFace", "write_colour", "EIO", 0xA571, false, [path](Context& c) {
                        greenColourWriteFails(
                            c, [&] { c.sandbox().failCalls(path, Call::Write, EIO); }, EIO, "204");
                    }});
    rows.push_back({"GreenLedFace", "write_colour", "EINTRRetried", 0xA571, false, [path](Context& c) {
                        GreenLedFace led;
                        ASSERT_TRUE(led.init("led"));
                        ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
                        ASSERT_TRUE(led.setValue(80, false));
                        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
                        const auto writes = callsOn(c, path, Call::Write);
                        ASSERT_EQ(writes.size(), 3u);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul("51"));
                        EXPECT_EQ(c.board.value(path), "51");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({"GreenLedFace", "write_colour", "ShortWrite", 0xA571, false, [path](Context& c) {
                        greenColourWriteFails(c, [&] { c.sandbox().shortWrite(path, 1); }, 0, "5");
                    }});
}

// The glow light starts dark: init writes "0", and a failure of that write fails init.
void glowStartDarkFails(Context& c, const std::function<void()>& inject, int error) {
    inject();
    errno = 0;
    {
        LedGlow led;
        EXPECT_FALSE(led.init("glow"));
        EXPECT_THAT(c.log.records(),
                    ElementsAre(keptWriteFailed(kGlow, "initGPIO", "0", openedFd(c, kGlow.path), error),
                                kBaseLedInitFailed));
        c.sandbox().clearJournal();
    }
    // The file opened for it is closed all the same.
    const auto& journal = c.sandbox().journal();
    ASSERT_EQ(journal.size(), 1u);
    EXPECT_EQ(journal[0].call, Call::Close);
    EXPECT_EQ(journal[0].path, kGlow.path);
}

void addGlowStartDarkRows(std::vector<Row>& rows) {
    const std::string& path = kGlow.path;
    rows.push_back({"LedGlow", "write_startdark", "EIO", 0xA5A6, false, [path](Context& c) {
                        glowStartDarkFails(c, [&] { c.sandbox().failCalls(path, Call::Write, EIO); }, EIO);
                    }});
    rows.push_back({"LedGlow", "write_startdark", "EINTRRetried", 0xA5A6, false, [path](Context& c) {
                        c.sandbox().setValue(path, "33");
                        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
                        LedGlow led;
                        EXPECT_TRUE(led.init("glow"));
                        const auto writes = callsOn(c, path, Call::Write);
                        ASSERT_EQ(writes.size(), 3u);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul("0"));
                        EXPECT_EQ(c.board.value(path), "0");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({"LedGlow", "write_startdark", "ShortWrite", 0xA5A6, false, [path](Context& c) {
                        glowStartDarkFails(c, [&] { c.sandbox().shortWrite(path, 1); }, 0);
                    }});
}

// ---- LED faces that open, write and close a file on every write ----

// One such face and one of its files. A row brings the face to fromUser (the file then holds
// fromFile), injects the fault on path and asks for toUser, which writes toText to path first.
struct PerWriteFile {
    std::string subject;
    uint32_t sysid;
    bool freshProcess;
    std::string path;
    std::string source;
    int fromUser;
    std::string fromFile;
    int toUser;
    std::string toText;
    std::function<void(BaseLed&)> prepare;  // after init, before fromUser is set
    std::function<void()> setUpBoard;       // before the face is built
};

std::vector<std::string> traceOf(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Open || entry.call == Call::Read || entry.call == Call::Write ||
            entry.call == Call::Close) {
            lines.push_back(orva::test::sysfs::trace({entry})[0]);
        }
    }
    return lines;
}

// The write of toText fails: false with the records of records(fd of the attempt) and BaseLed's,
// the walk stops after the calls of steps, path holds fileAfter, and the face keeps fromUser.
template <class Face>
void perWriteFails(Context& c, const PerWriteFile& f, const std::function<void()>& inject,
                   const std::function<std::vector<Expected>(int fd)>& records,
                   const std::vector<std::string>& steps, const std::string& fileAfter) {
    if (f.setUpBoard) f.setUpBoard();
    Face face;
    ASSERT_TRUE(face.init("led"));
    if (f.prepare) f.prepare(face);
    ASSERT_TRUE(face.setValue(f.fromUser, false));
    ASSERT_EQ(c.board.value(f.path), f.fromFile);
    int stored = 0;
    ASSERT_TRUE(face.readValue(stored));
    c.log.clear();
    c.sandbox().clearJournal();
    inject();
    errno = 0;  // a short write sets no errno: the record carries what errno held
    EXPECT_FALSE(face.setValue(f.toUser, false));
    std::vector<Expected> expected = records(openedFd(c, f.path));
    expected.push_back(kBaseLedWriteFailed);
    EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(expected));
    EXPECT_EQ(traceOf(c.sandbox().journal()), steps);
    EXPECT_EQ(c.board.value(f.path), fileAfter);
    int after = 0;
    ASSERT_TRUE(face.readValue(after));
    EXPECT_EQ(after, stored);
    c.sandbox().clearJournal();
    EXPECT_TRUE(face.setValue(f.fromUser, false));
    EXPECT_THAT(c.sandbox().journal(), IsEmpty());
}

// The call is interrupted twice (or the close fails): the write of toText succeeds without a record.
template <class Face>
void perWriteSucceeds(Context& c, const PerWriteFile& f, const std::function<void()>& inject,
                      const std::vector<std::string>& steps) {
    if (f.setUpBoard) f.setUpBoard();
    Face face;
    ASSERT_TRUE(face.init("led"));
    if (f.prepare) f.prepare(face);
    ASSERT_TRUE(face.setValue(f.fromUser, false));
    c.log.clear();
    c.sandbox().clearJournal();
    inject();
    EXPECT_TRUE(face.setValue(f.toUser, false));
    EXPECT_EQ(traceOf(c.sandbox().journal(f.path)), steps);
    EXPECT_EQ(c.board.value(f.path), f.toText);
    EXPECT_THAT(c.log.records(), IsEmpty());
}

template <class Face>
void addPerWriteRows(std::vector<Row>& rows, const PerWriteFile& f) {
    const std::string& n = f.subject;
    const std::string& p = f.path;
    const auto openFailed = [f](int) {
        return std::vector<Expected>{{f.source, "writeValue", 3, 0, "Failed to open proc entry '" + f.path + "'"}};
    };
    const auto writeFailed = [f](int error) {
        return [f, error](int fd) {
            return std::vector<Expected>{
                {f.source, "writeValue", 3, error, "Failed to write '" + f.toText + "' to proc entry " + hex(fd)}};
        };
    };
    const std::string text = orva::test::sysfs::shown(orva::test::withNul(f.toText));
    rows.push_back({n, "open", "EIO", f.sysid, f.freshProcess, [f, p, openFailed](Context& c) {
                        perWriteFails<Face>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Open, EIO); }, openFailed,
                            {"open " + p + " -> -1"}, f.fromFile);
                    }});
    rows.push_back({n, "open", "EINTRRetried", f.sysid, f.freshProcess, [f, p, text](Context& c) {
                        perWriteSucceeds<Face>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Open, EINTR, 2); },
                            {"open " + p + " -> -1", "open " + p + " -> -1", "open " + p, "write " + p + " " + text,
                             "close " + p});
                    }});
    rows.push_back({n, "open", "DescriptorZero", f.sysid, f.freshProcess, [f, p, openFailed](Context& c) {
                        // The descriptor 0 is closed again (a close of no sandbox file).
                        perWriteFails<Face>(
                            c, f, [&c, &p] { c.sandbox().zeroDescriptor(p); }, openFailed,
                            {"open " + p + " -> 0", "close "}, f.fromFile);
                    }});
    rows.push_back({n, "open", "MissingFile", f.sysid, f.freshProcess, [f, p, openFailed](Context& c) {
                        perWriteFails<Face>(
                            c, f, [&c, &p] { c.sandbox().removeAttribute(p); }, openFailed,
                            {"open " + p + " -> -1"}, "");
                        EXPECT_EQ(c.sandbox().journal(p).size(), 0u);  // nothing more was tried
                    }});
    rows.push_back({n, "write", "EIO", f.sysid, f.freshProcess, [f, p, text, writeFailed](Context& c) {
                        perWriteFails<Face>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Write, EIO); }, writeFailed(EIO),
                            {"open " + p, "write " + p + " " + text + " -> -1", "close " + p}, f.fromFile);
                    }});
    rows.push_back({n, "write", "EINTRRetried", f.sysid, f.freshProcess, [f, p, text](Context& c) {
                        perWriteSucceeds<Face>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Write, EINTR, 2); },
                            {"open " + p, "write " + p + " " + text + " -> -1", "write " + p + " " + text + " -> -1",
                             "write " + p + " " + text, "close " + p});
                    }});
    rows.push_back({n, "write", "ShortWrite", f.sysid, f.freshProcess, [f, p, text, writeFailed](Context& c) {
                        // The file keeps the one byte the write took.
                        perWriteFails<Face>(
                            c, f, [&c, &p] { c.sandbox().shortWrite(p, 1); }, writeFailed(0),
                            {"open " + p, "write " + p + " " + text, "close " + p}, f.toText.substr(0, 1));
                    }});
    rows.push_back({n, "close", "EIO", f.sysid, f.freshProcess, [f, p, text](Context& c) {
                        perWriteSucceeds<Face>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Close, EIO); },
                            {"open " + p, "write " + p + " " + text, "close " + p + " -> -1"});
                    }});
}

// The status LED of 0xA5A0: red lit, its file is the first of the walk (user 50 is 49, 70 is 69).
const PerWriteFile kSysfsRed{"LedSysfsA5A0", 0xA5A0, true, "/sys/bus/i2c/devices/3-0030/leds/R/brightness",
                             "src/LedSysfs", 50, "49", 70, "69", nullptr, nullptr};

// The white LED beside the microcontroller's LEDs of 0xA574: on ("1") and off ("0").
const PerWriteFile kUartcliWhite{"UartcliLedFace", 0xA574, false, "/proc/gpio/white_led", "src/UartcliLedFace", 100,
                                 "1", 0, "0", [](BaseLed& led) {
                                     ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
                                 },
                                 [] { orva::sim::registerUartcli(0); }};

// The second LP5012 unit of 0xA597 is read back before it is written: a failed read is a warning,
// the kept byte is 0 and the write goes on.
std::string lp5012(char color, int unit) {
    return std::string("/sys/class/leds/lp5012:") + color + std::to_string(unit) + "/color";
}

void lp5012ReadBack(Context& c, const std::function<void()>& inject, const std::vector<Expected>& records,
                    size_t reads, const std::string& secondRed) {
    LedSysfs led;
    ASSERT_TRUE(led.init("status"));
    inject();
    errno = 0;
    EXPECT_TRUE(led.writeValue(50));
    EXPECT_EQ(c.board.value(lp5012('R', 1)), "3289650");
    EXPECT_EQ(c.board.value(lp5012('R', 2)), secondRed);
    EXPECT_EQ(c.board.value(lp5012('G', 2)), "255");
    EXPECT_EQ(callsOn(c, lp5012('R', 2), Call::Read).size(), reads);
    EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(records));
    int stored = 0;
    EXPECT_TRUE(led.readValue(stored));
    EXPECT_EQ(stored, 50);
}

Expected lp5012ReadFailed(Context& c, int count) {
    return {"src/LedSysfs", "writeValue", 4, 0,
            "Failed to read from proc entry " + hex(openedFd(c, lp5012('R', 2))) + ", num bytes read " +
                std::to_string(count)};
}

void addLp5012ReadRows(std::vector<Row>& rows) {
    const std::string path = lp5012('R', 2);
    rows.push_back({"LedSysfsA597", "read_secondunit", "EIO", 0xA597, true, [path](Context& c) {
                        c.sandbox().failCalls(path, Call::Read, EIO);
                        LedSysfs led;
                        ASSERT_TRUE(led.init("status"));
                        EXPECT_TRUE(led.writeValue(50));
                        EXPECT_EQ(c.board.value(path), "3289600");  // the kept byte is 0
                        EXPECT_THAT(c.log.records(), ElementsAre(lp5012ReadFailed(c, -1)));
                    }});
    rows.push_back({"LedSysfsA597", "read_secondunit", "EINTRRetried", 0xA597, true, [path](Context& c) {
                        lp5012ReadBack(
                            c, [&c, &path] { c.sandbox().failCalls(path, Call::Read, EINTR, 2); }, {}, 3u,
                            "3289855");
                    }});
    rows.push_back({"LedSysfsA597", "read_secondunit", "EmptyRead", 0xA597, true, [path](Context& c) {
                        c.sandbox().emptyRead(path);
                        LedSysfs led;
                        ASSERT_TRUE(led.init("status"));
                        EXPECT_TRUE(led.writeValue(50));
                        EXPECT_EQ(c.board.value(path), "3289600");
                        EXPECT_THAT(c.log.records(), ElementsAre(lp5012ReadFailed(c, 0)));
                    }});
}

// ---- the microcontroller tool ----

const std::vector<ProgramOutcome>& toolFailures() {
    static const std::vector<ProgramOutcome> outcomes = {ProgramOutcome::exited(1), ProgramOutcome::notStarted(ENOENT),
                                                         ProgramOutcome::killed(SIGKILL)};
    return outcomes;
}
const char* const kToolFaults[] = {"NonZeroExit", "SpawnFailure", "KilledBySignal"};

std::vector<std::string> told() {
    std::vector<std::string> words;
    for (const auto& frame : orva::sim::uartcliFrames()) words.push_back(frame.description);
    return words;
}

void addUartcliToolRows(std::vector<Row>& rows) {
    const std::string source = "src/UartcliLedFace";
    for (size_t i = 0; i < toolFailures().size(); ++i) {
        const ProgramOutcome outcome = toolFailures()[i];
        // Taking control fails: only logged; the face works on.
        rows.push_back({"UartcliLedFace", "exec_takecontrol", kToolFaults[i], 0xA574, false, [outcome, source](Context& c) {
                            orva::sim::registerUartcli(outcome);
                            UartcliLedFace led;
                            EXPECT_THAT(c.log.records(),
                                        ElementsAre(Expected{source, "UartcliLedFace", 3, 0, "Failed to get LEDs contorl"}));
                            orva::sim::registerUartcli(0);
                            c.log.clear();
                            ASSERT_TRUE(led.init("status"));
                            EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                            EXPECT_TRUE(led.setValue(50, false));
                            EXPECT_THAT(told(), ElementsAre("take control", "set colour 0x01 (red)",
                                                            "set colour 0x01 (red)"));
                        }});
        // Giving control back fails: only logged, at destruction.
        rows.push_back({"UartcliLedFace", "exec_releasecontrol", kToolFaults[i], 0xA574, false, [outcome, source](Context& c) {
                            orva::sim::registerUartcli(0);
                            {
                                UartcliLedFace led;
                                orva::sim::registerUartcli(outcome);
                            }
                            EXPECT_THAT(c.log.records(),
                                        ElementsAre(Expected{source, "~UartcliLedFace", 3, 0, "Failed to free LEDs control"}));
                            EXPECT_THAT(told(), ElementsAre("take control", "release control"));
                        }});
        // Setting the colour of a value fails: logged, yet the write counts as done.
        rows.push_back({"UartcliLedFace", "exec_setcolour", kToolFaults[i], 0xA574, false, [outcome, source](Context& c) {
                            orva::sim::registerUartcli(0);
                            UartcliLedFace led;
                            ASSERT_TRUE(led.init("status"));
                            ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
                            c.log.clear();
                            orva::sim::registerUartcli(outcome);
                            EXPECT_TRUE(led.setValue(50, false));
                            EXPECT_THAT(c.log.records(),
                                        ElementsAre(Expected{source, "writeValue", 3, 0, "Failed to set for LED color to MCU"}));
                            orva::sim::registerUartcli(0);
                            const size_t runs = told().size();
                            EXPECT_TRUE(led.setValue(50, false));  // taken as written: nothing sent again
                            EXPECT_EQ(told().size(), runs);
                        }});
    }
}

// ---- the AV colour LED of 0xA573: white and blue channels kept open, and the AV LED files ----

namespace av = orva::test::av;

const std::string kAvSource = "src/CompoundLedFace";
const std::string kWhiteChannel = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
const std::string kBlueChannel = "/sys/class/backlight/bogus_bus:pwm_bl@2/brightness";

Expected avWriteFailed(const std::string& function, int error, const std::string& text, int fd) {
    return {kAvSource, function, 3, error, "Failed to write '" + text + "' to proc entry " + av::hex(fd)};
}

// Init fails at one call: the records are the face's (made from the journal) and BaseLed's, the
// journal ends with tail, and every descriptor opened before is closed at destruction.
void avInitFails(Context& c, const std::function<void()>& inject,
                 const std::function<Expected(const std::vector<JournalEntry>&)>& record,
                 const std::vector<std::string>& tail) {
    inject();
    errno = 0;  // what a short write or descriptor 0 leaves in the record
    {
        CompoundLedFace face;
        EXPECT_FALSE(face.init("av"));
        EXPECT_THAT(c.log.records(), ElementsAre(record(c.sandbox().journal()), kBaseLedInitFailed));
        const std::vector<std::string> lines = av::described(c.sandbox().journal());
        ASSERT_GE(lines.size(), tail.size());
        EXPECT_EQ(std::vector<std::string>(lines.end() - static_cast<long>(tail.size()), lines.end()), tail);
        c.log.clear();
    }
    EXPECT_THAT(c.log.records(), IsEmpty());
}

void avInitRetried(Context& c, const std::function<void()>& inject, const std::string& path, Call call,
                   size_t tries) {
    inject();
    CompoundLedFace face;
    EXPECT_TRUE(face.init("av"));
    EXPECT_EQ(callsOn(c, path, call).size(), tries);
    EXPECT_EQ(c.board.value(kWhiteChannel), "0");
    EXPECT_EQ(c.board.value(av::kAvTrigger), "none");
    EXPECT_THAT(c.log.records(), IsEmpty());
}

void addAvOpenRows(std::vector<Row>& rows, const std::string& site, const std::string& path, bool trigger) {
    const auto openRecord = [path](int error) {
        return [path, error](const std::vector<JournalEntry>&) {
            return Expected{kAvSource, "initGPIO", 3, error, "Failed to open proc entry '" + path + "'"};
        };
    };
    rows.push_back({"CompoundLedFace", site, "EIO", 0xA573, false, [path, openRecord](Context& c) {
                        avInitFails(c, [&c, &path] { c.sandbox().failCalls(path, Call::Open, EIO); }, openRecord(EIO),
                                    {av::opened(path) + " !5"});
                    }});
    rows.push_back({"CompoundLedFace", site, "EINTRRetried", 0xA573, false, [path](Context& c) {
                        avInitRetried(c, [&c, &path] { c.sandbox().failCalls(path, Call::Open, EINTR, 2); }, path,
                                      Call::Open, 3u);
                    }});
    rows.push_back({"CompoundLedFace", site, "DescriptorZero", 0xA573, false, [path, trigger, openRecord](Context& c) {
                        // The trigger's descriptor is closed at once; a kept one at destruction.
                        avInitFails(c, [&c, &path] { c.sandbox().zeroDescriptor(path); }, openRecord(0),
                                    trigger ? std::vector<std::string>{av::opened(path) + " ->0", "close #0"}
                                            : std::vector<std::string>{av::opened(path) + " ->0"});
                    }});
    rows.push_back({"CompoundLedFace", site, "MissingFile", 0xA573, false, [path, openRecord](Context& c) {
                        avInitFails(c, [&c, &path] { c.sandbox().removeAttribute(path); }, openRecord(EACCES),
                                    {av::opened(path) + " !13"});
                    }});
}

void addAvInitWriteRows(std::vector<Row>& rows, const std::string& site, const std::string& path,
                        const std::string& text, bool trigger) {
    const auto writeRecord = [path, text](int error) {
        return [path, text, error](const std::vector<JournalEntry>& journal) {
            return avWriteFailed("initGPIO", error, text, av::openedFd(journal, path));
        };
    };
    // The trigger is closed right after its write, whether it went through or not.
    const std::vector<std::string> after = trigger ? std::vector<std::string>{av::closed(path)} : std::vector<std::string>{};
    rows.push_back({"CompoundLedFace", site, "EIO", 0xA573, false, [path, text, after, writeRecord](Context& c) {
                        std::vector<std::string> tail{av::wrote(path, text) + " !5"};
                        tail.insert(tail.end(), after.begin(), after.end());
                        avInitFails(c, [&c, &path] { c.sandbox().failCalls(path, Call::Write, EIO); }, writeRecord(EIO),
                                    tail);
                    }});
    rows.push_back({"CompoundLedFace", site, "EINTRRetried", 0xA573, false, [path](Context& c) {
                        avInitRetried(c, [&c, &path] { c.sandbox().failCalls(path, Call::Write, EINTR, 2); }, path,
                                      Call::Write, 3u);
                    }});
    rows.push_back({"CompoundLedFace", site, "ShortWrite", 0xA573, false, [path, text, after, writeRecord](Context& c) {
                        std::vector<std::string> tail{av::wrote(path, text) + " ->1"};
                        tail.insert(tail.end(), after.begin(), after.end());
                        avInitFails(c, [&c, &path] { c.sandbox().shortWrite(path, 1); }, writeRecord(0), tail);
                    }});
}

// An initialised face at user 50 (the AV brightness file holds "1").
struct AvFace {
    CompoundLedFace face;
    std::vector<JournalEntry> init;
    explicit AvFace(Context& c) {
        EXPECT_TRUE(face.init("av"));
        EXPECT_TRUE(face.setValue(50, false));
        init = c.sandbox().journal();
        c.sandbox().clearJournal();
        c.log.clear();
    }
    int fd(const std::string& path) const { return av::openedFd(init, path); }
};

void addAvOperationRows(std::vector<Row>& rows) {
    const std::string n = "CompoundLedFace";
    // The value's first write, the AV LED's brightness, fails: nothing further is written and the
    // face keeps user 50.
    const auto valueFails = [](Context& c, const std::function<void()>& inject, int error, const std::string& line) {
        AvFace t(c);
        ASSERT_TRUE(t.face.setValue(0, false));
        c.sandbox().clearJournal();
        inject();
        errno = 0;
        EXPECT_FALSE(t.face.setValue(50, false));
        EXPECT_THAT(av::described(c.sandbox().journal()), ElementsAre(line));
        EXPECT_THAT(c.log.records(), ElementsAre(avWriteFailed("writeValue", error, "1", t.fd(av::kAvBrightness)),
                                                 Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
        c.sandbox().clearJournal();
        EXPECT_TRUE(t.face.setValue(0, false));  // still 0: nothing to write
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    rows.push_back({n, "write_value", "EIO", 0xA573, false, [valueFails](Context& c) {
                        valueFails(c, [&c] { c.sandbox().failCalls(av::kAvBrightness, Call::Write, EIO); }, EIO,
                                   av::wrote(av::kAvBrightness, "1") + " !5");
                    }});
    rows.push_back({n, "write_value", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        ASSERT_TRUE(t.face.setValue(0, false));
                        c.sandbox().clearJournal();
                        c.sandbox().failCalls(av::kAvBrightness, Call::Write, EINTR, 2);
                        EXPECT_TRUE(t.face.setValue(50, false));
                        EXPECT_THAT(av::described(c.sandbox().journal()),
                                    ElementsAre(av::wrote(av::kAvBrightness, "1") + " !4",
                                                av::wrote(av::kAvBrightness, "1") + " !4", av::wrote(av::kAvBrightness, "1")));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_value", "ShortWrite", 0xA573, false, [valueFails](Context& c) {
                        valueFails(c, [&c] { c.sandbox().shortWrite(av::kAvBrightness, 1); }, 0,
                                   av::wrote(av::kAvBrightness, "1") + " ->1");
                    }});
    // The AV LED's foreground colour name: the new colours are kept, so asking again writes nothing.
    const auto colourFails = [](Context& c, const std::function<void()>& inject, int error, const std::string& line) {
        AvFace t(c);
        inject();
        errno = 0;
        EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK));
        EXPECT_THAT(av::described(c.sandbox().journal()), ElementsAre(line));
        EXPECT_THAT(c.log.records(), ElementsAre(avWriteFailed("setAvledColor", error, "magenta", t.fd(av::kAvColorFg))));
        EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_MAGENTA);
        c.sandbox().clearJournal();
        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK));
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    rows.push_back({n, "write_colour", "EIO", 0xA573, false, [colourFails](Context& c) {
                        colourFails(c, [&c] { c.sandbox().failCalls(av::kAvColorFg, Call::Write, EIO); }, EIO,
                                    av::wrote(av::kAvColorFg, "magenta") + " !5");
                    }});
    rows.push_back({n, "write_colour", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        c.sandbox().failCalls(av::kAvColorFg, Call::Write, EINTR, 2);
                        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK));
                        EXPECT_EQ(c.board.value(av::kAvColorFg), "magenta");
                        EXPECT_EQ(callsOn(c, av::kAvColorFg, Call::Write).size(), 3u);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_colour", "ShortWrite", 0xA573, false, [colourFails](Context& c) {
                        colourFails(c, [&c] { c.sandbox().shortWrite(av::kAvColorFg, 3); }, 0,
                                    av::wrote(av::kAvColorFg, "magenta") + " ->3");
                    }});
    // readValue reads the foreground channel (blue here).
    const auto readFails = [](Context& c, const std::function<void()>& inject, int error, int count) {
        AvFace t(c);
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        c.log.clear();
        inject();
        errno = 0;
        int value = -7;
        EXPECT_FALSE(t.face.readValue(value));
        EXPECT_EQ(value, -7);
        EXPECT_THAT(c.log.records(),
                    ElementsAre(Expected{kAvSource, "readValue", 3, error,
                                         "Failed to read from proc entry " + av::hex(t.fd(kBlueChannel)) +
                                             ", num bytes read " + std::to_string(count)}));
    };
    rows.push_back({n, "read", "EIO", 0xA573, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().failCalls(kBlueChannel, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
                        c.sandbox().setValue(kBlueChannel, "17");
                        c.sandbox().clearJournal();
                        c.sandbox().failCalls(kBlueChannel, Call::Read, EINTR, 2);
                        int value = -7;
                        EXPECT_TRUE(t.face.readValue(value));
                        EXPECT_EQ(value, 17);
                        EXPECT_THAT(av::described(c.sandbox().journal()),
                                    ElementsAre("read " + kBlueChannel + " !4", "read " + kBlueChannel + " !4",
                                                "read " + kBlueChannel + " ->3"));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "read", "EmptyRead", 0xA573, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().emptyRead(kBlueChannel); }, 0, 0);
                    }});
    // A failing close does not stop the destructor: every other file is still closed.
    rows.push_back({n, "close", "EIO", 0xA573, false, [](Context& c) {
                        {
                            AvFace t(c);
                            c.sandbox().failCalls(av::kAvBrightness, Call::Close, EIO);
                        }
                        EXPECT_THAT(av::described(c.sandbox().journal()),
                                    ElementsAre(av::closed(av::kAvBrightness) + " !5", av::closed(av::kAvColorFg),
                                                av::closed(av::kAvColorBg), av::closed(kBlueChannel),
                                                av::closed(kWhiteChannel)));
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
}

void addAvRows(std::vector<Row>& rows) {
    addAvOpenRows(rows, "open_channel", kWhiteChannel, false);
    addAvOpenRows(rows, "open_trigger", av::kAvTrigger, true);
    addAvInitWriteRows(rows, "write_dark", kWhiteChannel, "0", false);
    addAvInitWriteRows(rows, "write_trigger", av::kAvTrigger, "none", true);
    addAvOperationRows(rows);
}

// ---- generic sites of faces that keep their files open ----

using FaceFactory = std::function<std::unique_ptr<BaseLed>()>;

// Init of a face fails at one call: the records are record(journal) and BaseLed's, the journal
// ends with tail, and the destructor adds no record.
void initFails(Context& c, const FaceFactory& make, const std::function<void()>& inject,
               const std::function<std::vector<Expected>(const std::vector<JournalEntry>&)>& records,
               const std::vector<std::string>& tail) {
    inject();
    errno = 0;  // what a short write or descriptor 0 leaves in the record
    {
        std::unique_ptr<BaseLed> face = make();
        EXPECT_FALSE(face->init("led"));
        std::vector<Expected> expected = records(c.sandbox().journal());
        expected.push_back(kBaseLedInitFailed);
        EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(expected));
        const std::vector<std::string> lines = av::described(c.sandbox().journal());
        ASSERT_GE(lines.size(), tail.size());
        EXPECT_EQ(std::vector<std::string>(lines.end() - static_cast<long>(tail.size()), lines.end()), tail);
        c.log.clear();
    }
    EXPECT_THAT(c.log.records(), IsEmpty());
}

// The open of path at init fails; the descriptor 0 of a kept file is closed at destruction, that of
// a file only used during init at once (closedAtOnce).
void addInitOpenRows(std::vector<Row>& rows, const std::string& subject, const std::string& site, uint32_t sysid,
                     bool fresh, const FaceFactory& make, const std::string& path, const std::string& source,
                     bool errnoInRecord, bool closedAtOnce, const std::vector<std::string>& after = {},
                     const std::vector<Expected>& before = {}, const std::vector<Expected>& onSuccess = {}) {
    const auto record = [path, source, errnoInRecord, before](int error) {
        return [path, source, errnoInRecord, before, error](const std::vector<JournalEntry>&) {
            std::vector<Expected> expected = before;
            expected.push_back({source, "initGPIO", 3, errnoInRecord ? error : 0, "Failed to open proc entry '" + path + "'"});
            return expected;
        };
    };
    rows.push_back({subject, site, "EIO", sysid, fresh, [=](Context& c) {
                        std::vector<std::string> tail{av::opened(path) + " !5"};
                        tail.insert(tail.end(), after.begin(), after.end());
                        initFails(c, make, [&c, &path] { c.sandbox().failCalls(path, Call::Open, EIO); }, record(EIO),
                                  tail);
                    }});
    rows.push_back({subject, site, "EINTRRetried", sysid, fresh, [=](Context& c) {
                        c.sandbox().failCalls(path, Call::Open, EINTR, 2);
                        std::unique_ptr<BaseLed> face = make();
                        EXPECT_TRUE(face->init("led"));
                        const auto opens = callsOn(c, path, Call::Open);
                        ASSERT_EQ(opens.size(), 3u);
                        EXPECT_EQ(opens[1].error, EINTR);
                        EXPECT_GT(opens[2].result, 0);
                        std::vector<Expected> expected = before;
                        expected.insert(expected.end(), onSuccess.begin(), onSuccess.end());
                        EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(expected));
                    }});
    rows.push_back({subject, site, "DescriptorZero", sysid, fresh, [=](Context& c) {
                        std::vector<std::string> tail{av::opened(path) + " ->0"};
                        if (closedAtOnce) tail.push_back("close #0");
                        tail.insert(tail.end(), after.begin(), after.end());
                        initFails(c, make, [&c, &path] { c.sandbox().zeroDescriptor(path); }, record(0), tail);
                    }});
    rows.push_back({subject, site, "MissingFile", sysid, fresh, [=](Context& c) {
                        std::vector<std::string> tail{av::opened(path) + " !13"};
                        tail.insert(tail.end(), after.begin(), after.end());
                        initFails(c, make, [&c, &path] { c.sandbox().removeAttribute(path); }, record(EACCES), tail);
                    }});
}

// One write site of an initialised face. act makes the write of text to path; on failure the face
// logs record(fd) at function, then extra records follow; kept() checks the state after the failure.
struct WriteSite {
    std::string subject;
    std::string site;
    uint32_t sysid;
    bool fresh;
    FaceFactory make;
    std::function<void(BaseLed&)> prepare;  // after init
    std::string path;
    std::string source;
    std::string function;
    std::string text;
    std::function<bool(BaseLed&)> act;
    std::vector<Expected> extra;
    std::function<void(Context&, BaseLed&)> kept;
};

void addWriteSiteRows(std::vector<Row>& rows, const WriteSite& w) {
    const auto fails = [w](Context& c, const std::function<void()>& inject, int error, const std::string& line,
                           const std::string& fileAfter) {
        std::unique_ptr<BaseLed> face = w.make();
        ASSERT_TRUE(face->init("led"));
        if (w.prepare) w.prepare(*face);
        const int fd = openedFd(c, w.path);
        const std::string before = c.board.value(w.path);
        c.sandbox().clearJournal();
        c.log.clear();
        inject();
        errno = 0;  // a short write sets no errno
        EXPECT_FALSE(w.act(*face));
        std::vector<Expected> expected{
            {w.source, w.function, 3, error, "Failed to write '" + w.text + "' to proc entry " + hex(fd)}};
        expected.insert(expected.end(), w.extra.begin(), w.extra.end());
        EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(expected));
        EXPECT_EQ(av::described(c.sandbox().journal()).back(), line);
        EXPECT_EQ(c.board.value(w.path), fileAfter.empty() ? before : fileAfter);
        c.sandbox().clearJournal();
        c.log.clear();
        if (w.kept) w.kept(c, *face);
    };
    rows.push_back({w.subject, w.site, "EIO", w.sysid, w.fresh, [w, fails](Context& c) {
                        fails(c, [&c, &w] { c.sandbox().failCalls(w.path, Call::Write, EIO); }, EIO,
                              av::wrote(w.path, w.text) + " !5", "");
                    }});
    rows.push_back({w.subject, w.site, "EINTRRetried", w.sysid, w.fresh, [w](Context& c) {
                        std::unique_ptr<BaseLed> face = w.make();
                        ASSERT_TRUE(face->init("led"));
                        if (w.prepare) w.prepare(*face);
                        c.sandbox().clearJournal();
                        c.log.clear();
                        c.sandbox().failCalls(w.path, Call::Write, EINTR, 2);
                        EXPECT_TRUE(w.act(*face));
                        const auto writes = callsOn(c, w.path, Call::Write);
                        ASSERT_GE(writes.size(), 3u);
                        EXPECT_EQ(writes[0].error, EINTR);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul(w.text));
                        EXPECT_EQ(c.board.value(w.path), w.text);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({w.subject, w.site, "ShortWrite", w.sysid, w.fresh, [w, fails](Context& c) {
                        fails(c, [&c, &w] { c.sandbox().shortWrite(w.path, 1); }, 0, av::wrote(w.path, w.text) + " ->1",
                              w.text.substr(0, 1));
                    }});
}

// A failing close of path in the destructor: no record, and every other file is still closed.
void addCloseRow(std::vector<Row>& rows, const std::string& subject, uint32_t sysid, bool fresh,
                 const FaceFactory& make, const std::string& path, size_t closes) {
    rows.push_back({subject, "close", "EIO", sysid, fresh, [=](Context& c) {
                        {
                            std::unique_ptr<BaseLed> face = make();
                            ASSERT_TRUE(face->init("led"));
                            c.sandbox().failCalls(path, Call::Close, EIO);
                            c.sandbox().clearJournal();
                            c.log.clear();
                        }
                        const auto closed = callsOn(c, path, Call::Close);
                        ASSERT_EQ(closed.size(), 1u);
                        EXPECT_EQ(closed[0].error, EIO);
                        EXPECT_EQ(orva::test::calls(c.sandbox().journal(), Call::Close).size(), closes);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
}

// ---- the front RGB LED of 0xA563, with animations ----

void addRgbRows(std::vector<Row>& rows) {
    const std::string n = "RgbLedFace";
    const std::string source = "src/RgbLedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new RgbLedFace()); };
    addInitOpenRows(rows, n, "open_brightness", 0xA563, false, make, av::kAvBrightness, source, false, false);
    addInitOpenRows(rows, n, "open_trigger", 0xA563, false, make, av::kAvTrigger, source, false, true);
    // The animation files are opened while the trigger is: it is closed before init fails.
    addInitOpenRows(rows, n, "open_animtrigger", 0xA563, false, make, av::kAnimTrigger, source, false, false,
                    {av::closed(av::kAvTrigger)});
    // The trigger write at init: the trigger is closed whatever happened.
    const auto triggerRecord = [source](int error) {
        return [source, error](const std::vector<JournalEntry>& journal) {
            return std::vector<Expected>{{source, "initGPIO", 3, error,
                                          "Failed to write 'none' to proc entry " + av::hex(av::openedFd(journal, av::kAvTrigger))}};
        };
    };
    rows.push_back({n, "write_trigger", "EIO", 0xA563, false, [=](Context& c) {
                        initFails(c, make, [&c] { c.sandbox().failCalls(av::kAvTrigger, Call::Write, EIO); },
                                  triggerRecord(EIO), {av::wrote(av::kAvTrigger, "none") + " !5", av::closed(av::kAvTrigger)});
                    }});
    rows.push_back({n, "write_trigger", "EINTRRetried", 0xA563, false, [=](Context& c) {
                        c.sandbox().failCalls(av::kAvTrigger, Call::Write, EINTR, 2);
                        std::unique_ptr<BaseLed> face = make();
                        EXPECT_TRUE(face->init("led"));
                        EXPECT_EQ(callsOn(c, av::kAvTrigger, Call::Write).size(), 3u);
                        EXPECT_EQ(c.board.value(av::kAvTrigger), "none");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_trigger", "ShortWrite", 0xA563, false, [=](Context& c) {
                        initFails(c, make, [&c] { c.sandbox().shortWrite(av::kAvTrigger, 1); }, triggerRecord(0),
                                  {av::wrote(av::kAvTrigger, "none") + " ->1", av::closed(av::kAvTrigger)});
                    }});
    // The value: "1" for on; BaseLed keeps the old value, so off again writes nothing.
    addWriteSiteRows(rows, {n, "write_value", 0xA563, false, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setValue(0, false)); }, av::kAvBrightness, source,
                            "writeValue", "1", [](BaseLed& led) { return led.setValue(100, false); },
                            {kBaseLedWriteFailed}, [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(led.setValue(0, false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // The foreground colour name: the new colour is kept, so asking again writes nothing.
    addWriteSiteRows(rows, {n, "write_colour", 0xA563, false, make, nullptr, av::kAvColorFg, source, "setColor", "green",
                            [](BaseLed& led) { return led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_GREEN);
                                EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    addWriteSiteRows(rows, {n, "write_animcolour", 0xA563, false, make, nullptr, av::kAnimColorFg, source,
                            "setAnimColor", "red",
                            [](BaseLed& led) { return led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readFgAnimColor(), BaseLed::COLOR_RED);
                                EXPECT_TRUE(led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    addWriteSiteRows(rows, {n, "write_animdensity", 0xA563, false, make, nullptr, av::kAnimDensity, source,
                            "setAnimDensity", "9", [](BaseLed& led) { return led.setAnimDensity(9); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readAnimDensity(), 9);
                                EXPECT_TRUE(led.setAnimDensity(9));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    addWriteSiteRows(rows, {n, "write_animstep", 0xA563, false, make, nullptr, av::kAnimTrigger, source, "setAnimStep",
                            "step_cw", [](BaseLed& led) { return led.setAnimStep(5); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readAnimStep(), 5);
                                EXPECT_TRUE(led.setAnimStep(5));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // readValue reads the brightness file.
    const auto readFails = [source, make](Context& c, const std::function<void()>& inject, int error, int count) {
        std::unique_ptr<BaseLed> face = make();
        ASSERT_TRUE(face->init("led"));
        const int fd = openedFd(c, av::kAvBrightness);
        inject();
        errno = 0;
        int value = -7;
        EXPECT_FALSE(face->readValue(value));
        EXPECT_EQ(value, -7);
        EXPECT_THAT(c.log.records(), ElementsAre(Expected{source, "readValue", 3, error,
                                                          "Failed to read from proc entry " + hex(fd) +
                                                              ", num bytes read " + std::to_string(count)}));
    };
    rows.push_back({n, "read", "EIO", 0xA563, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().failCalls(av::kAvBrightness, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read", "EINTRRetried", 0xA563, false, [make](Context& c) {
                        std::unique_ptr<BaseLed> face = make();
                        ASSERT_TRUE(face->init("led"));
                        c.sandbox().setValue(av::kAvBrightness, "1");
                        c.sandbox().failCalls(av::kAvBrightness, Call::Read, EINTR, 2);
                        int value = -7;
                        EXPECT_TRUE(face->readValue(value));
                        EXPECT_EQ(value, 1);
                        EXPECT_EQ(callsOn(c, av::kAvBrightness, Call::Read).size(), 3u);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "read", "EmptyRead", 0xA563, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().emptyRead(av::kAvBrightness); }, 0, 0);
                    }});
    addCloseRow(rows, n, 0xA563, false, make, av::kAvColorFg, 7u);
}

// ---- the status ring of 0xA5B0 on the multicolour LED class: 10 colour and 10 white LEDs ----

std::string multicolour(const char* device, int index, const char* file) {
    return std::string("/sys/class/leds/multicolor:") + device + (index == 0 ? std::string() : "_" + std::to_string(index)) +
           "/" + file;
}

void addMulticolourRows(std::vector<Row>& rows) {
    const std::string n = "MulticolorLedFace";
    const std::string source = "src/MulticolorLedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new MulticolorLedFace()); };
    const Expected info{source, "initGPIO", 6, 0,
                        "maxNumLed[10] maxNumWledModule[4] isRgbGroup[0] maxNumRgbGroup[0] maxIteration[10]"};
    const std::string firstIntensity = multicolour("status", 0, "multi_intensity");
    const std::string lastBrightness = multicolour("indicator", 9, "brightness");
    // An open that yields descriptor 0 is a failure, and the face closes that descriptor at once.
    addInitOpenRows(rows, n, "open", 0xA5B0, false, make, firstIntensity, source, false, true, {}, {info});
    // Init sets every brightness to full scale; a failed write fails the init.
    const auto brightnessRecord = [source, info, lastBrightness](int error) {
        return [source, info, lastBrightness, error](const std::vector<JournalEntry>& journal) {
            return std::vector<Expected>{info, {source, "initGPIO", 3, error,
                                                "Failed to write '255' to proc entry " +
                                                    av::hex(av::openedFd(journal, lastBrightness))}};
        };
    };
    rows.push_back({n, "write_brightness", "EIO", 0xA5B0, false, [=](Context& c) {
                        initFails(c, make, [&c, &lastBrightness] { c.sandbox().failCalls(lastBrightness, Call::Write, EIO); },
                                  brightnessRecord(EIO), {av::wrote(lastBrightness, "255") + " !5"});
                    }});
    rows.push_back({n, "write_brightness", "EINTRRetried", 0xA5B0, false, [=](Context& c) {
                        c.sandbox().failCalls(lastBrightness, Call::Write, EINTR, 2);
                        std::unique_ptr<BaseLed> face = make();
                        EXPECT_TRUE(face->init("led"));
                        EXPECT_EQ(callsOn(c, lastBrightness, Call::Write).size(), 3u);
                        EXPECT_EQ(c.board.value(lastBrightness), "255");
                        EXPECT_THAT(c.log.records(), ElementsAre(info));
                    }});
    rows.push_back({n, "write_brightness", "ShortWrite", 0xA5B0, false, [=](Context& c) {
                        initFails(c, make, [&c, &lastBrightness] { c.sandbox().shortWrite(lastBrightness, 1); },
                                  brightnessRecord(0), {av::wrote(lastBrightness, "255") + " ->1"});
                    }});
    // Drawing a value: the first node of the ring fails; the face took the value all the same, so
    // the same value again draws nothing.
    addWriteSiteRows(rows, {n, "write_intensity", 0xA5B0, false, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK)); },
                            firstIntensity, source, "update", "0 255 0",
                            [](BaseLed& led) { return led.setValue(100, false); }, {kBaseLedWriteFailed},
                            [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(led.setValue(100, false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    addCloseRow(rows, n, 0xA5B0, false, make, firstIntensity, 40u);
}

// ---- the infrared light of 0xA533 on one backlight file (process-wide parts: a child each) ----

const std::string kIrBacklight = "/sys/class/backlight/0.pwm_bl/brightness";

void addInfraredFileRows(std::vector<Row>& rows) {
    const std::string n = "LedIrA533";
    const std::string source = "src/LedIr";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new LedIr()); };
    const Expected range{source, "initGPIO", 6, 0, "IR led range is [0 99], step 1"};
    addInitOpenRows(rows, n, "open", 0xA533, true, make, kIrBacklight, source, false, false, {}, {}, {range});
    // Init reads the light's current value: a failed read fails the init.
    const auto readRecords = [source, range](int error, int count) {
        return [source, range, error, count](const std::vector<JournalEntry>& journal) {
            return std::vector<Expected>{range, {source, "readValue", 3, error,
                                                 "Failed to read from proc entry " +
                                                     av::hex(av::openedFd(journal, kIrBacklight)) + ", num bytes read " +
                                                     std::to_string(count)}};
        };
    };
    rows.push_back({n, "read_init", "EIO", 0xA533, true, [=](Context& c) {
                        initFails(c, make, [&c] { c.sandbox().failCalls(kIrBacklight, Call::Read, EIO); },
                                  readRecords(EIO, -1), {"read " + kIrBacklight + " !5"});
                    }});
    rows.push_back({n, "read_init", "EINTRRetried", 0xA533, true, [=](Context& c) {
                        c.sandbox().setValue(kIrBacklight, "33");
                        c.sandbox().failCalls(kIrBacklight, Call::Read, EINTR, 2);
                        LedIr led;
                        EXPECT_TRUE(led.init("ir"));
                        EXPECT_EQ(callsOn(c, kIrBacklight, Call::Read).size(), 3u);
                        EXPECT_EQ(callsOn(c, kIrBacklight, Call::Read).back().bytes, "33\n");
                        EXPECT_THAT(c.log.records(), ElementsAre(range));
                    }});
    rows.push_back({n, "read_init", "EmptyRead", 0xA533, true, [=](Context& c) {
                        initFails(c, make, [&c] { c.sandbox().emptyRead(kIrBacklight); }, readRecords(0, 0),
                                  {"read " + kIrBacklight + " ->0"});
                    }});
    // A value: user 20 is 19, 40 is 39; a failed write keeps 20.
    addWriteSiteRows(rows, {n, "write", 0xA533, true, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setValue(20, false)); }, kIrBacklight, source,
                            "writeValue", "39", [](BaseLed& led) { return led.setValue(40, false); },
                            {kBaseLedWriteFailed}, [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(led.setValue(20, false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // readValue reads the selected path and leaves the argument alone when it fails.
    const auto readFails = [source](Context& c, const std::function<void()>& inject, int error, int count) {
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        const int fd = openedFd(c, kIrBacklight);
        c.log.clear();
        inject();
        errno = 0;
        int value = -7;
        EXPECT_FALSE(led.readValue(value));
        EXPECT_EQ(value, -7);
        EXPECT_THAT(c.log.records(), ElementsAre(Expected{source, "readValue", 3, error,
                                                          "Failed to read from proc entry " + hex(fd) +
                                                              ", num bytes read " + std::to_string(count)}));
    };
    rows.push_back({n, "read", "EIO", 0xA533, true, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().failCalls(kIrBacklight, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read", "EINTRRetried", 0xA533, true, [range](Context& c) {
                        LedIr led;
                        ASSERT_TRUE(led.init("ir"));
                        c.sandbox().setValue(kIrBacklight, " 57 ");
                        c.sandbox().clearJournal();
                        c.sandbox().failCalls(kIrBacklight, Call::Read, EINTR, 2);
                        int value = -7;
                        EXPECT_TRUE(led.readValue(value));
                        EXPECT_EQ(value, 57);
                        EXPECT_EQ(callsOn(c, kIrBacklight, Call::Read).size(), 3u);
                        EXPECT_THAT(c.log.records(), ElementsAre(range));
                    }});
    rows.push_back({n, "read", "EmptyRead", 0xA533, true, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().emptyRead(kIrBacklight); }, 0, 0);
                    }});
    addCloseRow(rows, n, 0xA533, true, make, kIrBacklight, 1u);
}

// ---- the KTD20xx ring: its node table and descriptors are process-wide and never closed ----

const std::string kKtdSource = "src/Ktd2061LedFace";

void addKtdRows(std::vector<Row>& rows) {
    const std::string n = "Ktd2061LedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new Ktd2061LedFace()); };
    const size_t first = rows.size();
    // An open in the middle of 0xA598's table (the 13th of 18 nodes): init stops there and the twelve
    // nodes opened before stay open with the table.
    const std::string b2 = "/sys/class/leds/ktd2061/B2";
    const auto openFails = [make, b2](Context& c, const std::function<void()>& inject, int error, long long result) {
        inject();
        errno = 0;
        {
            std::unique_ptr<BaseLed> face = make();
            EXPECT_FALSE(face->init("ring"));
            const auto opens = orva::test::calls(c.sandbox().journal(), Call::Open);
            ASSERT_EQ(opens.size(), 13u);
            EXPECT_EQ(opens.back().path, b2);
            EXPECT_EQ(opens.back().result, result);
            // Descriptor 0 counts as a failed open, but the face opened it: it is closed at once.
            EXPECT_EQ(orva::test::calls(c.sandbox().journal(), Call::Close).size(), result == 0 ? 1u : 0u);
            EXPECT_THAT(orva::test::calls(c.sandbox().journal(), Call::Write), IsEmpty());
            const auto& records = c.log.records();
            ASSERT_EQ(records.size(), 2u + 12u + 2u);  // the node dump up to the failing node
            EXPECT_EQ(records[records.size() - 2],
                      (Expected{kKtdSource, "initSysfs", 3, error, "Failed to open proc entry '" + b2 + "'"}));
            EXPECT_EQ(records.back(), kBaseLedInitFailed);
        }
    };
    rows.push_back({n, "open", "EIO", 0xA598, true, [openFails, b2](Context& c) {
                        openFails(c, [&c, &b2] { c.sandbox().failCalls(b2, Call::Open, EIO); }, EIO, -1);
                    }, 12});
    rows.push_back({n, "open", "EINTRRetried", 0xA598, true, [make, b2](Context& c) {
                        c.sandbox().failCalls(b2, Call::Open, EINTR, 2);
                        std::unique_ptr<BaseLed> face = make();
                        EXPECT_TRUE(face->init("ring"));
                        EXPECT_EQ(callsOn(c, b2, Call::Open).size(), 3u);
                        EXPECT_EQ(orva::test::calls(c.sandbox().journal(), Call::Open).size(), 20u);
                        // Only the information and debug lines of the node dump: no error, no warning.
                        ASSERT_EQ(c.log.records().size(), 2u + 18u);
                        for (const auto& record : c.log.records()) EXPECT_GE(record.level, 6) << record.text;
                    }, 18});
    rows.push_back({n, "open", "DescriptorZero", 0xA598, true, [openFails, b2](Context& c) {
                        openFails(c, [&c, &b2] { c.sandbox().zeroDescriptor(b2); }, 0, 0);
                    }, 12});
    rows.push_back({n, "open", "MissingFile", 0xA598, true, [openFails, b2](Context& c) {
                        openFails(c, [&c, &b2] { c.sandbox().removeAttribute(b2); }, EACCES, -1);
                    }, 12});
    // Red at full value on 0xA598: the fourth write of the update, a pattern node, fails. The last
    // value was taken before the write, so the same value again has nothing to do.
    const auto sameValueWritesNothing = [](Context& c, BaseLed& led) {
        EXPECT_TRUE(led.setValue(100, false));
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    addWriteSiteRows(rows, {n, "write_pattern", 0xA598, true, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK)); },
                            "/sys/class/leds/ktd2061/C4", kKtdSource, "update", "100",
                            [](BaseLed& led) { return led.setValue(100, false); }, {kBaseLedWriteFailed},
                            sameValueWritesNothing});
    // White on 0xA5A6: the KTD2052's mode node is switched on after the update; its failure is
    // reported by refreshMode and by update.
    addWriteSiteRows(rows, {n, "write_mode", 0xA5A6, true, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK)); },
                            "/sys/class/leds/ktd2052/mode", kKtdSource, "refreshMode", "2",
                            [](BaseLed& led) { return led.setValue(100, false); },
                            {Expected{kKtdSource, "update", 3, 0, "Could not set mode for led WLED"}, kBaseLedWriteFailed},
                            sameValueWritesNothing});
    for (size_t i = first; i < rows.size(); ++i) {
        if (rows[i].keptOpen == 0) rows[i].keptOpen = rows[i].sysid == 0xA598 ? 18 : 19;
    }
}

// ---- the status LED on the Ethernet PHY ----

constexpr unsigned kPhyRegister = 0x11;

Expected phyUnreadable(const char* function) {
    return {"src/LedPhy", function, 3, 0, "Unable to read phy reg 11 from eth0"};
}

void addPhyRows(std::vector<Row>& rows) {
    const std::string name = "LedPhy";
    rows.push_back({name, "mdioinit", "Fails", 0xA564, false, [](Context& c) {
                        Mdio::failInit("eth0", EPERM);
                        LedPhy led;
                        EXPECT_FALSE(led.init("phy"));
                        const auto accesses = Mdio::accesses(c.sandbox().journal());
                        ASSERT_EQ(accesses.size(), 1u);
                        EXPECT_EQ(accesses[0].kind, MdioAccess::Kind::Init);
                        EXPECT_EQ(accesses[0].error, EPERM);
                        EXPECT_THAT(c.log.records(), ElementsAre(kBaseLedInitFailed));
                    }});
    // A failed read of the register before a write: nothing is written and the value is kept.
    rows.push_back({name, "mdioread", "Fails", 0xA564, false, [](Context& c) {
                        LedPhy led;
                        ASSERT_TRUE(led.init("phy"));
                        ASSERT_TRUE(led.setBoolean(false));
                        EXPECT_EQ(Mdio::getRegister("eth0", kPhyRegister), 0x120C);
                        Mdio::failRead("eth0", EIO);
                        c.sandbox().clearJournal();
                        EXPECT_FALSE(led.setBoolean(true));
                        EXPECT_THAT(c.log.records(), ElementsAre(phyUnreadable("writeValue"), kBaseLedWriteFailed));
                        const auto accesses = Mdio::accesses(c.sandbox().journal());
                        ASSERT_EQ(accesses.size(), 1u);
                        EXPECT_EQ(accesses[0].kind, MdioAccess::Kind::Read);
                        EXPECT_EQ(Mdio::getRegister("eth0", kPhyRegister), 0x120C);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.setBoolean(false));  // still off: no request
                        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                    }});
    // A failed read for save(): the save fails and nothing is pending.
    rows.push_back({name, "mdioread_save", "Fails", 0xA564, false, [](Context& c) {
                        LedPhy led;
                        ASSERT_TRUE(led.init("phy"));
                        Mdio::failRead("eth0", ETIMEDOUT);
                        EXPECT_FALSE(led.save());
                        EXPECT_THAT(c.log.records(), ElementsAre(phyUnreadable("readValue"), kBaseLedReadFailed));
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.restore());
                        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                    }});
    rows.push_back({name, "mdiowrite", "Fails", 0xA564, false, [](Context& c) {
                        LedPhy led;
                        ASSERT_TRUE(led.init("phy"));
                        ASSERT_TRUE(led.setBoolean(false));
                        Mdio::failWrite("eth0", EPERM);
                        EXPECT_FALSE(led.setBoolean(true));
                        // The write's failure comes back through the result only.
                        EXPECT_THAT(c.log.records(), ElementsAre(kBaseLedWriteFailed));
                        EXPECT_EQ(Mdio::getRegister("eth0", kPhyRegister), 0x120C);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.setBoolean(false));
                        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                    }});
}

// ---- the infrared light of the early 0xA532 revisions: the image processor's factory tool ----

const std::string kFactoryTool = "/bin/orva_isp_fac_cmd";

// The tool fails on the second value: false with the tool's record and BaseLed's; the face keeps
// the first value, so asking for it again runs nothing.
void factoryToolFails(Context& c, const ProgramOutcome& outcome, const std::string& text) {
    orva::sim::registerProgram(kFactoryTool, 0);
    LedIr led;
    ASSERT_TRUE(led.init("ir"));
    ASSERT_TRUE(led.setValue(20, false));
    c.log.clear();
    orva::sim::registerProgram(kFactoryTool, [outcome](const std::vector<std::string>&) { return outcome; });
    EXPECT_FALSE(led.setValue(40, false));
    EXPECT_THAT(c.log.records(), ElementsAre(Expected{"src/LedIr", "writeValue", 3, 0, text}, kBaseLedWriteFailed));
    EXPECT_EQ(orva::sim::programRuns(kFactoryTool).size(), 2u);
    orva::sim::registerProgram(kFactoryTool, 0);
    EXPECT_TRUE(led.setValue(20, false));
    EXPECT_EQ(orva::sim::programRuns(kFactoryTool).size(), 2u);
}

void addInfraredRows(std::vector<Row>& rows) {
    const std::string name = "LedIrA532";
    rows.push_back({name, "exec", "NonZeroExit", 0xA532, true, [](Context& c) {
                        factoryToolFails(c, ProgramOutcome::exited(3), "Failed to run fac_cmd, ret=3");
                    }});
    rows.push_back({name, "exec", "SpawnFailure", 0xA532, true, [](Context& c) {
                        factoryToolFails(c, ProgramOutcome::notStarted(ENOENT), "Failed to run fac_cmd, ret=-1");
                    }});
    rows.push_back({name, "exec", "KilledBySignal", 0xA532, true, [](Context& c) {
                        factoryToolFails(c, ProgramOutcome::killed(SIGSEGV), "Failed to run fac_cmd, ret=-1");
                    }});
}

// ---- the reset button case on the shared-memory board: the rest of the segment's calls ----

void addResetCaseSegmentRows(std::vector<Row>& rows) {
    const std::string n = "ResetButtonCase";
    // A failed set-up step after the lookup: the button's record, the base's and the case's; the
    // destructor detaches what was attached (or says that nothing was).
    const auto setupFails = [](Context& c, const std::string& call, int error, const std::string& message,
                               bool attached) {
        c.sandbox().failCalls(call, Call::Shm, error);
        RecordingObserver observer;
        {
            ResetButtonCase button;
            EXPECT_FALSE(button.init(&observer, 500));
            EXPECT_THAT(c.log.records(),
                        ElementsAre(shmemInitFailed(message), kButtonInitFailed, kResetCaseInitFailed));
            EXPECT_EQ(SharedMemory::attachments(kSegmentKey), attached ? 2u : 1u);
            EXPECT_FALSE(button.service());
            c.log.clear();
        }
        if (attached) {
            EXPECT_THAT(c.log.records(), IsEmpty());
        } else {
            EXPECT_THAT(c.log.records(), ElementsAre(shmemDetachFailed("Invalid argument")));
        }
        EXPECT_EQ(shmCallNames(c).back(), "shmdt");
        EXPECT_EQ(SharedMemory::attachments(kSegmentKey), 1u);
        EXPECT_THAT(observer.events, IsEmpty());
    };
    rows.push_back({n, "shmat", "Fails", 0xA564, false, [setupFails](Context& c) {
                        setupFails(c, "shmat", EACCES, "Failed to attach shared memory", false);
                    }});
    rows.push_back({n, "shmctl", "Fails", 0xA564, false, [setupFails](Context& c) {
                        setupFails(c, "shmctl", EIDRM, "Failed to get shared memory size", true);
                    }});
    rows.push_back({n, "shmdt", "Fails", 0xA564, false, [](Context& c) {
                        RecordingObserver observer;
                        {
                            ResetButtonCase button;
                            ASSERT_TRUE(button.init(&observer, 500));
                            SharedMemory::setByte(kSegmentKey, 271, 0);
                            EXPECT_TRUE(button.service());
                            c.sandbox().failCalls("shmdt", Call::Shm, ENOMEM);
                        }
                        EXPECT_THAT(c.log.records(), ElementsAre(shmemDetachFailed("Cannot allocate memory")));
                        EXPECT_EQ(shmCallNames(c).back(), "shmdt");
                        EXPECT_THAT(observer.events, ElementsAre(pressed()));
                    }});
    // The proc entry of 0xA533 is closed with the case: a failed close is the only call, unreported.
    rows.push_back({n, "close", "EIO", 0xA533, false, [](Context& c) {
                        const std::string entry = "/proc/gpio/reset_btn";
                        {
                            RecordingObserver observer;
                            ResetButtonCase button;
                            ASSERT_TRUE(button.init(&observer, 500));
                            c.sandbox().failCalls(entry, Call::Close, EIO);
                            c.sandbox().clearJournal();
                        }
                        const auto& journal = c.sandbox().journal();
                        ASSERT_EQ(journal.size(), 1u);
                        EXPECT_EQ(journal[0].call, Call::Close);
                        EXPECT_EQ(journal[0].path, entry);
                        EXPECT_EQ(journal[0].error, EIO);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
}

// ---- the green LED of 0xA574, where amber takes a dimmer green share ----

// Amber on black: user 80 is 204 of 255, shown at the amber share 0x48 (57); 40 is 102 (28).
const KeptFile kGreenLedA574{"GreenLedFaceA574", 0xA574, "/sys/class/leds/G/brightness", "src/GreenLedFace", 80, "57",
                             40, "28", [](BaseLed& led) {
                                 ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
                             }};

// From amber on black at user 80 to black on amber: 255 - 204 at the amber share (14).
void greenAmberColourWriteFails(Context& c, const std::function<void()>& inject, int error,
                                const std::string& fileAfter) {
    GreenLedFace led;
    ASSERT_TRUE(led.init("led"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(80, false));
    ASSERT_EQ(c.board.value(kGreenLedA574.path), "57");
    c.log.clear();
    inject();
    errno = 0;
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_AMBER));
    EXPECT_THAT(c.log.records(),
                ElementsAre(keptWriteFailed(kGreenLedA574, "setColor", "14", openedFd(c, kGreenLedA574.path), error)));
    EXPECT_EQ(c.board.value(kGreenLedA574.path), fileAfter);
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_BLACK);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_AMBER);
    c.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_AMBER));
    EXPECT_THAT(c.sandbox().journal(), IsEmpty());
}

void addGreenA574ColourRows(std::vector<Row>& rows) {
    const std::string n = kGreenLedA574.subject;
    const std::string path = kGreenLedA574.path;
    rows.push_back({n, "write_colour", "EIO", 0xA574, false, [path](Context& c) {
                        greenAmberColourWriteFails(
                            c, [&] { c.sandbox().failCalls(path, Call::Write, EIO); }, EIO, "57");
                    }});
    rows.push_back({n, "write_colour", "EINTRRetried", 0xA574, false, [path](Context& c) {
                        GreenLedFace led;
                        ASSERT_TRUE(led.init("led"));
                        ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
                        ASSERT_TRUE(led.setValue(80, false));
                        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_AMBER));
                        const auto writes = callsOn(c, path, Call::Write);
                        ASSERT_EQ(writes.size(), 3u);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul("14"));
                        EXPECT_EQ(c.board.value(path), "14");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_colour", "ShortWrite", 0xA574, false, [path](Context& c) {
                        greenAmberColourWriteFails(c, [&] { c.sandbox().shortWrite(path, 1); }, 0, "1");
                    }});
}

// ---- the glow light on the torch boards (0..15): a first "0" of its own, then the start-dark "0" ----

// User 50 is 7 of 15, 80 is 12.
const KeptFile kTorchGlow{"LedGlowTorchA574", 0xA574, "/sys/class/leds/torch1/brightness", "src/LedGlow", 50, "7", 80,
                          "12", nullptr};

void addTorchGlowRows(std::vector<Row>& rows) {
    const std::string n = kTorchGlow.subject;
    const std::string path = kTorchGlow.path;
    // The torch's own first "0": its failure is logged, and init goes on with the start-dark write.
    const auto firstZeroFails = [path](Context& c, const std::function<void()>& inject, int error) {
        c.sandbox().setValue(path, "9");
        inject();
        errno = 0;
        LedGlow led;
        EXPECT_TRUE(led.init("glow"));
        EXPECT_THAT(c.log.records(),
                    ElementsAre(keptWriteFailed(kTorchGlow, "writeValue", "0", openedFd(c, path), error)));
        const auto writes = callsOn(c, path, Call::Write);
        ASSERT_EQ(writes.size(), 2u);
        EXPECT_EQ(writes[1].bytes, orva::test::withNul("0"));
        EXPECT_EQ(c.board.value(path), "0");
        c.log.clear();
        EXPECT_TRUE(led.setValue(50, false));
        EXPECT_EQ(c.board.value(path), "7");
        EXPECT_THAT(c.log.records(), IsEmpty());
    };
    rows.push_back({n, "write_torchzero", "EIO", 0xA574, false, [firstZeroFails, path](Context& c) {
                        firstZeroFails(c, [&c, &path] { c.sandbox().failCalls(path, Call::Write, EIO); }, EIO);
                    }});
    rows.push_back({n, "write_torchzero", "EINTRRetried", 0xA574, false, [path](Context& c) {
                        c.sandbox().setValue(path, "9");
                        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
                        LedGlow led;
                        EXPECT_TRUE(led.init("glow"));
                        const auto writes = callsOn(c, path, Call::Write);
                        ASSERT_EQ(writes.size(), 4u);  // two interrupted, the first "0", the start-dark "0"
                        EXPECT_EQ(writes[0].error, EINTR);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul("0"));
                        EXPECT_EQ(writes[3].bytes, orva::test::withNul("0"));
                        EXPECT_EQ(c.board.value(path), "0");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_torchzero", "ShortWrite", 0xA574, false, [firstZeroFails, path](Context& c) {
                        firstZeroFails(c, [&c, &path] { c.sandbox().shortWrite(path, 1); }, 0);
                    }});
    // The start-dark write fails after the first "0" went through: init fails, and the file opened
    // for it is closed all the same. The first write is let through by a short-write fault longer
    // than the write, which takes every byte.
    const auto startDarkFails = [path](Context& c, const std::function<void()>& inject, int error) {
        c.sandbox().shortWrite(path, 64);
        inject();
        errno = 0;
        {
            LedGlow led;
            EXPECT_FALSE(led.init("glow"));
            EXPECT_THAT(c.log.records(),
                        ElementsAre(keptWriteFailed(kTorchGlow, "initGPIO", "0", openedFd(c, path), error),
                                    kBaseLedInitFailed));
            const auto writes = callsOn(c, path, Call::Write);
            ASSERT_EQ(writes.size(), 2u);
            EXPECT_EQ(writes[0].result, 2);
            c.sandbox().clearJournal();
        }
        const auto& journal = c.sandbox().journal();
        ASSERT_EQ(journal.size(), 1u);
        EXPECT_EQ(journal[0].call, Call::Close);
        EXPECT_EQ(journal[0].path, path);
    };
    rows.push_back({n, "write_startdark", "EIO", 0xA574, false, [startDarkFails, path](Context& c) {
                        startDarkFails(c, [&c, &path] { c.sandbox().failCalls(path, Call::Write, EIO); }, EIO);
                    }});
    rows.push_back({n, "write_startdark", "EINTRRetried", 0xA574, false, [path](Context& c) {
                        c.sandbox().setValue(path, "9");
                        c.sandbox().shortWrite(path, 64);
                        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
                        LedGlow led;
                        EXPECT_TRUE(led.init("glow"));
                        const auto writes = callsOn(c, path, Call::Write);
                        ASSERT_EQ(writes.size(), 4u);  // the first "0", two interrupted, the start-dark "0"
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].error, EINTR);
                        EXPECT_EQ(writes[3].bytes, orva::test::withNul("0"));
                        EXPECT_EQ(c.board.value(path), "0");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_startdark", "ShortWrite", 0xA574, false, [startDarkFails, path](Context& c) {
                        startDarkFails(c, [&c, &path] { c.sandbox().shortWrite(path, 1); }, 0);
                    }});
}

// ---- the front RGB LED: the colour files, the animation files and the background colours ----

void addRgbFileRows(std::vector<Row>& rows) {
    const std::string n = "RgbLedFace";
    const std::string source = "src/RgbLedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new RgbLedFace()); };
    addInitOpenRows(rows, n, "open_colourfg", 0xA563, false, make, av::kAvColorFg, source, false, false);
    addInitOpenRows(rows, n, "open_colourbg", 0xA563, false, make, av::kAvColorBg, source, false, false);
    // The animation files are opened while the trigger is: it is closed before init fails.
    addInitOpenRows(rows, n, "open_animdensity", 0xA563, false, make, av::kAnimDensity, source, false, false,
                    {av::closed(av::kAvTrigger)});
    addInitOpenRows(rows, n, "open_animcolourfg", 0xA563, false, make, av::kAnimColorFg, source, false, false,
                    {av::closed(av::kAvTrigger)});
    addInitOpenRows(rows, n, "open_animcolourbg", 0xA563, false, make, av::kAnimColorBg, source, false, false,
                    {av::closed(av::kAvTrigger)});
    // The background colour names: the new colour is kept, so asking again writes nothing.
    addWriteSiteRows(rows, {n, "write_colourbg", 0xA563, false, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK)); },
                            av::kAvColorBg, source, "setColor", "green",
                            [](BaseLed& led) { return led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_GREEN);
                                EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    addWriteSiteRows(rows, {n, "write_animcolourbg", 0xA563, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                            },
                            av::kAnimColorBg, source, "setAnimColor", "blue",
                            [](BaseLed& led) { return led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readBgAnimColor(), BaseLed::COLOR_BLUE);
                                EXPECT_TRUE(led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
}

// ---- the AV colour LED of 0xA573: the blue channel, the AV LED's files and its background ----

void addAvFileRows(std::vector<Row>& rows) {
    const std::string n = "CompoundLedFace";
    addAvOpenRows(rows, "open_bluechannel", kBlueChannel, false);
    addAvOpenRows(rows, "open_brightness", av::kAvBrightness, false);
    addAvOpenRows(rows, "open_colourfg", av::kAvColorFg, false);
    addAvOpenRows(rows, "open_colourbg", av::kAvColorBg, false);
    addAvInitWriteRows(rows, "write_darkblue", kBlueChannel, "0", false);
    // The AV LED's background colour name: the new colours are kept, so asking again writes nothing.
    const auto backgroundFails = [](Context& c, const std::function<void()>& inject, int error,
                                    const std::string& line) {
        AvFace t(c);
        const BaseLed::Color fg = BaseLed::COLOR_RED;  // a colour of the AV LED, not of a channel
        ASSERT_TRUE(t.face.setColor(fg, BaseLed::COLOR_BLACK));
        c.sandbox().clearJournal();
        c.log.clear();
        inject();
        errno = 0;
        EXPECT_FALSE(t.face.setColor(fg, BaseLed::COLOR_MAGENTA));
        EXPECT_THAT(av::described(c.sandbox().journal()), ElementsAre(line));
        EXPECT_THAT(c.log.records(), ElementsAre(avWriteFailed("setAvledColor", error, "magenta", t.fd(av::kAvColorBg))));
        EXPECT_EQ(t.face.readBgColor(), BaseLed::COLOR_MAGENTA);
        c.sandbox().clearJournal();
        EXPECT_TRUE(t.face.setColor(fg, BaseLed::COLOR_MAGENTA));
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    rows.push_back({n, "write_colourbg", "EIO", 0xA573, false, [backgroundFails](Context& c) {
                        backgroundFails(c, [&c] { c.sandbox().failCalls(av::kAvColorBg, Call::Write, EIO); }, EIO,
                                        av::wrote(av::kAvColorBg, "magenta") + " !5");
                    }});
    rows.push_back({n, "write_colourbg", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                        c.sandbox().clearJournal();
                        c.sandbox().failCalls(av::kAvColorBg, Call::Write, EINTR, 2);
                        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_MAGENTA));
                        EXPECT_EQ(c.board.value(av::kAvColorBg), "magenta");
                        EXPECT_EQ(callsOn(c, av::kAvColorBg, Call::Write).size(), 3u);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_colourbg", "ShortWrite", 0xA573, false, [backgroundFails](Context& c) {
                        backgroundFails(c, [&c] { c.sandbox().shortWrite(av::kAvColorBg, 3); }, 0,
                                        av::wrote(av::kAvColorBg, "magenta") + " ->3");
                    }});
    // A channel colour lit at user 50: the AV LED's foreground goes black, then the blue channel
    // takes the value; its failure fails setColor, and the new colours are kept.
    const auto channelFails = [](Context& c, const std::function<void()>& inject, int error,
                                 const std::string& line) {
        AvFace t(c);
        inject();
        errno = 0;
        EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        EXPECT_THAT(av::described(c.sandbox().journal()), ElementsAre(av::wrote(av::kAvColorFg, "black"), line));
        EXPECT_THAT(c.log.records(), ElementsAre(avWriteFailed("setColor", error, "49", t.fd(kBlueChannel))));
        EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_BLUE);
        c.sandbox().clearJournal();
        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    rows.push_back({n, "write_channel", "EIO", 0xA573, false, [channelFails](Context& c) {
                        channelFails(c, [&c] { c.sandbox().failCalls(kBlueChannel, Call::Write, EIO); }, EIO,
                                     av::wrote(kBlueChannel, "49") + " !5");
                    }});
    rows.push_back({n, "write_channel", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        c.sandbox().failCalls(kBlueChannel, Call::Write, EINTR, 2);
                        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
                        EXPECT_EQ(c.board.value(kBlueChannel), "49");
                        EXPECT_EQ(callsOn(c, kBlueChannel, Call::Write).size(), 3u);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_channel", "ShortWrite", 0xA573, false, [channelFails](Context& c) {
                        channelFails(c, [&c] { c.sandbox().shortWrite(kBlueChannel, 1); }, 0,
                                     av::wrote(kBlueChannel, "49") + " ->1");
                    }});
}

// ---- the status LED of 0xA5A3: an I2C driver file and a USB controller file for each colour ----

std::string a5a3I2c(char colour) { return std::string("/sys/bus/i2c/devices/0-0030/leds/") + colour + "/brightness"; }
std::string a5a3Usb(char colour) {
    return std::string("/sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_led") +
           static_cast<char>(colour - 'A' + 'a');
}

// One file of a walk whose files are looked for first (a missing file is a controller or unit not
// fitted, skipped). Red lit, the face goes from user 50 (the file holds fromFile) to user 70, which
// writes toText to path after the calls of before; a unit that is read back first reads readBack.
// A fault on the file fails the value with that file's record; the files before it hold the new
// value.
struct WalkFile {
    std::string subject;
    uint32_t sysid;
    std::string site;
    std::string path;
    std::vector<std::string> before;
    std::string fromFile;
    std::string toText;
    std::string readBack;  // "" for a file that is only written
    // What the other files hold once a missing path was skipped.
    std::function<void(Context&)> skipped;
};

void addWalkFileRows(std::vector<Row>& rows, const WalkFile& w) {
    const std::string& n = w.subject;
    const PerWriteFile f{n, w.sysid, true, w.path, "src/LedSysfs", 50, w.fromFile, 70, w.toText, nullptr, nullptr};
    const auto openFailed = [f](int) {
        return std::vector<Expected>{{f.source, "writeValue", 3, 0, "Failed to open proc entry '" + f.path + "'"}};
    };
    const auto writeFailed = [f](int error) {
        return [f, error](int fd) {
            return std::vector<Expected>{
                {f.source, "writeValue", 3, error, "Failed to write '" + f.toText + "' to proc entry " + hex(fd)}};
        };
    };
    const std::string p = w.path;
    const std::string text = orva::test::sysfs::shown(orva::test::withNul(w.toText));
    const std::vector<std::string> read =
        w.readBack.empty() ? std::vector<std::string>{}
                           : std::vector<std::string>{"read " + p + " " + orva::test::sysfs::shown(w.readBack)};
    // The calls of the walk: those before the file, then the given ones, with the read-back after the open.
    const auto with = [w, read](const std::vector<std::string>& own, bool withBefore) {
        std::vector<std::string> steps = withBefore ? w.before : std::vector<std::string>{};
        for (const std::string& step : own) {
            steps.push_back(step);
            if (step == "open " + w.path) steps.insert(steps.end(), read.begin(), read.end());
        }
        return steps;
    };
    const uint32_t id = w.sysid;
    rows.push_back({n, "open_" + w.site, "EIO", id, true, [=](Context& c) {
                        perWriteFails<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Open, EIO); }, openFailed,
                            with({"open " + p + " -> -1"}, true), w.fromFile);
                    }});
    rows.push_back({n, "open_" + w.site, "EINTRRetried", id, true, [=](Context& c) {
                        perWriteSucceeds<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Open, EINTR, 2); },
                            with({"open " + p + " -> -1", "open " + p + " -> -1", "open " + p,
                                  "write " + p + " " + text, "close " + p},
                                 false));
                    }});
    rows.push_back({n, "open_" + w.site, "DescriptorZero", id, true, [=](Context& c) {
                        perWriteFails<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().zeroDescriptor(p); }, openFailed,
                            with({"open " + p + " -> 0", "close "}, true), w.fromFile);
                    }});
    rows.push_back({n, "open_" + w.site, "MissingFile", id, true, [=](Context& c) {
                        LedSysfs led;
                        ASSERT_TRUE(led.init("led"));
                        ASSERT_TRUE(led.setValue(50, false));
                        c.sandbox().removeAttribute(p);
                        c.sandbox().clearJournal();
                        EXPECT_TRUE(led.setValue(70, false));
                        EXPECT_THAT(c.sandbox().journal(p), IsEmpty());
                        w.skipped(c);
                        int stored = 0;
                        EXPECT_TRUE(led.readValue(stored));
                        EXPECT_EQ(stored, 69);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_" + w.site, "EIO", id, true, [=](Context& c) {
                        perWriteFails<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Write, EIO); }, writeFailed(EIO),
                            with({"open " + p, "write " + p + " " + text + " -> -1", "close " + p}, true), w.fromFile);
                    }});
    rows.push_back({n, "write_" + w.site, "EINTRRetried", id, true, [=](Context& c) {
                        perWriteSucceeds<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Write, EINTR, 2); },
                            with({"open " + p, "write " + p + " " + text + " -> -1",
                                  "write " + p + " " + text + " -> -1", "write " + p + " " + text, "close " + p},
                                 false));
                    }});
    rows.push_back({n, "write_" + w.site, "ShortWrite", id, true, [=](Context& c) {
                        // The file keeps the one byte the write took.
                        perWriteFails<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().shortWrite(p, 1); }, writeFailed(0),
                            with({"open " + p, "write " + p + " " + text, "close " + p}, true), w.toText.substr(0, 1));
                    }});
    rows.push_back({n, "close_" + w.site, "EIO", id, true, [=](Context& c) {
                        perWriteSucceeds<LedSysfs>(
                            c, f, [&c, &p] { c.sandbox().failCalls(p, Call::Close, EIO); },
                            with({"open " + p, "write " + p + " " + text, "close " + p + " -> -1"}, false));
                    }});
}

// 0xA5A3: each colour's I2C file, then its USB file (user 50 is 49, 70 is 69). A missing file
// leaves the seven others written.
void addA5A3FileRows(std::vector<Row>& rows) {
    const std::string text = orva::test::sysfs::shown(orva::test::withNul("69"));
    const std::string i2c = a5a3I2c('R');
    const auto othersWritten = [](const std::string& missing) {
        return [missing](Context& c) {
            // An open, a write and a close of every other file.
            EXPECT_EQ(traceOf(c.sandbox().journal()).size(), (8u - 1u) * 3u);
            for (const char colour : {'R', 'G', 'B', 'W'}) {
                for (const std::string& file : {a5a3I2c(colour), a5a3Usb(colour)}) {
                    if (file != missing) {
                        EXPECT_EQ(c.board.value(file), colour == 'R' ? "69" : "0") << file;
                    }
                }
            }
        };
    };
    addWalkFileRows(rows, {"LedSysfsA5A3", 0xA5A3, "i2c", i2c, {}, "49", "69", "", othersWritten(i2c)});
    addWalkFileRows(rows, {"LedSysfsA5A3", 0xA5A3, "usb", a5a3Usb('R'),
                           {"open " + i2c, "write " + i2c + " " + text, "close " + i2c}, "49", "69", "",
                           othersWritten(a5a3Usb('R'))});
}

// 0xA597: each colour's first LP5012 unit takes the value in all three fields (69 is 4539717), the
// second in its upper two, keeping the lowest field it reads back as hexadecimal text: after user 50
// it holds 3224063 (49 * 0x010100 + 0xff), read back as 0x3224063, so user 70 writes
// 69 * 0x010100 + 0x63 = 4539747.
void addLp5012FileRows(std::vector<Row>& rows) {
    const std::string r1 = lp5012('R', 1);
    const std::string r2 = lp5012('R', 2);
    const std::string first = orva::test::sysfs::shown(orva::test::withNul("4539717"));
    addWalkFileRows(rows, {"LedSysfsA597", 0xA597, "firstunit", r1, {}, "3223857", "4539717", "",
                           [r2](Context& c) {
                               EXPECT_EQ(c.board.value(r2), "4539747");
                               EXPECT_EQ(c.board.value(lp5012('G', 1)), "0");
                           }});
    addWalkFileRows(rows, {"LedSysfsA597", 0xA597, "secondunit", r2,
                           {"open " + r1, "write " + r1 + " " + first, "close " + r1}, "3224063", "4539747",
                           "3224063\n", [r1](Context& c) {
                               EXPECT_EQ(c.board.value(r1), "4539717");
                               // Dark: "255" after user 50, read back as 0x255, keeps 0x55.
                               EXPECT_EQ(c.board.value(lp5012('G', 2)), "85");
                           }});
}

// ---- the infrared light's other outputs: the wide channel, the accessory IR and the white light ----

const std::string kIrWide = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
const std::string kPwmWhite = av::pwm(0);
const std::string kPwmAccessory = av::pwm(1);
const std::string kPwmWide = av::pwm(9);

LedIr& asIr(BaseLed& led) { return static_cast<LedIr&>(led); }

// 0xA598: the wide channel, the accessory IR and the white light are opened after the light
// itself; the white light's level is at most 14900 ns, the accessory IR's 16200 ns.
void addInfraredA598Rows(std::vector<Row>& rows) {
    const std::string n = "LedIrA598";
    const std::string source = "src/LedIr";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new LedIr()); };
    const Expected range{source, "initGPIO", 6, 0, "IR led range is [0 99], step 1"};
    addInitOpenRows(rows, n, "open_wide", 0xA598, true, make, kPwmWide, source, false, false, {}, {}, {range});
    addInitOpenRows(rows, n, "open_accessory", 0xA598, true, make, kPwmAccessory, source, false, false, {}, {},
                    {range});
    addInitOpenRows(rows, n, "open_white", 0xA598, true, make, kPwmWhite, source, false, false, {}, {}, {range});
    addWriteSiteRows(rows, {n, "write_white", 0xA598, true, make, nullptr, kPwmWhite, source, "setWhiteLedOnFd",
                            "14900", [](BaseLed& led) { return asIr(led).setWhiteLedOn(true); }, {}, nullptr});
    addWriteSiteRows(rows, {n, "write_accessory", 0xA598, true, make, nullptr, kPwmAccessory, source,
                            "accessoryIrOnFd", "16200", [](BaseLed& led) { return asIr(led).accessoryIrOn(true); }, {},
                            nullptr});
    // A lower white level while the light is on is written at once; after a failed write the level
    // is kept for the next switch-on.
    addWriteSiteRows(rows, {n, "write_whitelevel", 0xA598, true, make,
                            [](BaseLed& led) { ASSERT_TRUE(asIr(led).setWhiteLedOn(true)); }, kPwmWhite, source,
                            "setMaxWhiteLedLevel", "100", [](BaseLed& led) { return asIr(led).setMaxWhiteLedLevel(100); },
                            {}, [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(asIr(led).setWhiteLedOn(true));
                                EXPECT_EQ(c.board.value(kPwmWhite), "100");
                                EXPECT_THAT(c.log.records(), IsEmpty());
                            }});
    // setMaxWhiteLedLevel reads the white light first: a failed read fails it and writes nothing.
    const auto levelReadFails = [source](Context& c, const std::function<void()>& inject, int error, int count) {
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        ASSERT_TRUE(led.setWhiteLedOn(true));
        const int fd = openedFd(c, kPwmWhite);
        c.log.clear();
        c.sandbox().clearJournal();
        inject();
        errno = 0;
        EXPECT_FALSE(led.setMaxWhiteLedLevel(100));
        EXPECT_THAT(c.log.records(), ElementsAre(Expected{source, "setMaxWhiteLedLevel", 3, error,
                                                          "Failed to read from proc entry " + hex(fd) +
                                                              ", num bytes read " + std::to_string(count)}));
        EXPECT_THAT(callsOn(c, kPwmWhite, Call::Write), IsEmpty());
        EXPECT_EQ(c.board.value(kPwmWhite), "14900");
    };
    rows.push_back({n, "read_whitelevel", "EIO", 0xA598, true, [levelReadFails](Context& c) {
                        levelReadFails(c, [&c] { c.sandbox().failCalls(kPwmWhite, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read_whitelevel", "EINTRRetried", 0xA598, true, [range](Context& c) {
                        LedIr led;
                        ASSERT_TRUE(led.init("ir"));
                        ASSERT_TRUE(led.setWhiteLedOn(true));
                        c.sandbox().failCalls(kPwmWhite, Call::Read, EINTR, 2);
                        EXPECT_TRUE(led.setMaxWhiteLedLevel(100));
                        EXPECT_EQ(callsOn(c, kPwmWhite, Call::Read).size(), 3u);
                        EXPECT_EQ(c.board.value(kPwmWhite), "100");
                        EXPECT_THAT(c.log.records(), ElementsAre(range));
                    }});
    rows.push_back({n, "read_whitelevel", "EmptyRead", 0xA598, true, [levelReadFails](Context& c) {
                        levelReadFails(c, [&c] { c.sandbox().emptyRead(kPwmWhite); }, 0, 0);
                    }});
    // Every output is closed with the face, whichever close fails.
    addCloseRow(rows, n, 0xA598, true, make, kPwmWhite, 4u);
}

// 0xA5A4: the tele and wide channels fade together, one unit per pass; the wide channel takes the
// complement of the tele channel (user 20 is 19 and 80, user 21 is 20 and 79).
void addInfraredA5A4Rows(std::vector<Row>& rows) {
    const std::string n = "LedIrA5A4";
    const std::string source = "src/LedIr";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new LedIr()); };
    const Expected range{source, "initGPIO", 6, 0, "IR led range is [0 99], step 1"};
    addInitOpenRows(rows, n, "open_wide", 0xA5A4, true, make, kIrWide, source, false, false, {}, {}, {range});
    const std::vector<Expected> fadeInfo{{source, "fadeInOut", 6, 0, "Set Tele IR PWM Duty Cycle=20"},
                                         {source, "fadeInOut", 6, 0, "Set Wide IR PWM Duty Cycle=79"}};
    // A step write of one channel fails: the fade stops there, the value fails, and the face keeps
    // user 20 (asking for it again writes nothing).
    const auto stepFails = [source, fadeInfo](Context& c, const std::string& path, const std::string& text,
                                              const char* which, const std::function<void()>& inject, int error,
                                              const std::string& fileAfter) {
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        ASSERT_TRUE(led.setValue(20, false));
        ASSERT_EQ(c.board.value(kIrBacklight), "19");
        ASSERT_EQ(c.board.value(kIrWide), "80");
        const int fd = openedFd(c, path);
        c.log.clear();
        c.sandbox().clearJournal();
        inject();
        errno = 0;
        EXPECT_FALSE(led.setValue(21, false));
        std::vector<Expected> expected = fadeInfo;
        expected.push_back({source, "operator()", 3, error, "Failed to write '" + text + "' to proc entry " + hex(fd)});
        expected.push_back({source, "fadeInOut", 3, 0, std::string("fadeInOut stepWrite ") + which + " fail"});
        expected.push_back({source, "writeValue", 3, 0, "fadeInOut fail"});
        expected.push_back(kBaseLedWriteFailed);
        EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(expected));
        EXPECT_EQ(c.board.value(path), fileAfter);
        c.sandbox().clearJournal();
        EXPECT_TRUE(led.setValue(20, false));
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    const auto stepRetried = [fadeInfo](Context& c, const std::string& path, const std::string& text) {
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        ASSERT_TRUE(led.setValue(20, false));
        c.log.clear();
        c.sandbox().failCalls(path, Call::Write, EINTR, 2);
        c.sandbox().clearJournal();
        EXPECT_TRUE(led.setValue(21, false));
        const auto writes = callsOn(c, path, Call::Write);
        ASSERT_EQ(writes.size(), 3u);
        EXPECT_EQ(writes[1].error, EINTR);
        EXPECT_EQ(writes[2].bytes, orva::test::withNul(text));
        EXPECT_EQ(c.board.value(kIrBacklight), "20");
        EXPECT_EQ(c.board.value(kIrWide), "79");
        EXPECT_THAT(c.log.records(), ::testing::ElementsAreArray(fadeInfo));
    };
    const std::vector<std::tuple<std::string, std::string, std::string, const char*, std::string>> channels = {
        {"write_fadetele", kIrBacklight, "20", "IR1", "19"}, {"write_fadewide", kIrWide, "79", "IR2", "80"}};
    for (const auto& [site, path, text, which, before] : channels) {
        const std::string p = path, t = text, b = before;
        const char* w = which;
        rows.push_back({n, site, "EIO", 0xA5A4, true, [=](Context& c) {
                            stepFails(c, p, t, w, [&c, &p] { c.sandbox().failCalls(p, Call::Write, EIO); }, EIO, b);
                        }});
        rows.push_back({n, site, "EINTRRetried", 0xA5A4, true, [=](Context& c) { stepRetried(c, p, t); }});
        rows.push_back({n, site, "ShortWrite", 0xA5A4, true, [=](Context& c) {
                            stepFails(c, p, t, w, [&c, &p] { c.sandbox().shortWrite(p, 1); }, 0, t.substr(0, 1));
                        }});
    }
    addCloseRow(rows, n, 0xA5A4, true, make, kIrWide, 2u);
}

// ---- the KTD20xx ring: the brightness nodes and the mode node's refresh ----

void addKtdNodeRows(std::vector<Row>& rows) {
    const std::string n = "Ktd2061LedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new Ktd2061LedFace()); };
    const size_t first = rows.size();
    // Red at full value on 0xA598: the colour chip's brightness node follows its first pattern node.
    addWriteSiteRows(rows, {n, "write_brightness", 0xA598, true, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK)); },
                            "/sys/class/leds/ktd2061/brightness", kKtdSource, "update", "99",
                            [](BaseLed& led) { return led.setValue(100, false); }, {kBaseLedWriteFailed},
                            [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(led.setValue(100, false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // The off mode is written again from service() once a minute has passed: a failure is logged
    // and the next attempt waits another minute.
    const std::string mode = "/sys/class/leds/ktd2052/mode";
    const auto refreshFails = [make, mode](Context& c, const std::function<void()>& inject, int error,
                                           const std::string& fileAfter) {
        std::unique_ptr<BaseLed> face = make();
        ASSERT_TRUE(face->init("ring"));
        auto& ring = static_cast<Ktd2061LedFace&>(*face);
        c.board.advanceMs(61000);
        const int fd = openedFd(c, mode);
        c.sandbox().setValue(mode, "2");
        c.log.clear();
        c.sandbox().clearJournal();
        inject();
        errno = 0;
        EXPECT_TRUE(ring.service());
        EXPECT_THAT(c.log.records(),
                    ElementsAre(Expected{kKtdSource, "refreshMode", 3, error,
                                         "Failed to write '0' to proc entry " + hex(fd)}));
        EXPECT_EQ(c.board.value(mode), fileAfter);
        c.sandbox().clearJournal();
        c.board.advanceMs(60000);
        EXPECT_TRUE(ring.service());
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
        c.board.advanceMs(1);
        EXPECT_TRUE(ring.service());
        EXPECT_EQ(callsOn(c, mode, Call::Write).size(), 1u);
        EXPECT_EQ(c.board.value(mode), "0");
    };
    rows.push_back({n, "write_moderefresh", "EIO", 0xA5A6, true, [refreshFails, mode](Context& c) {
                        refreshFails(c, [&c, &mode] { c.sandbox().failCalls(mode, Call::Write, EIO); }, EIO, "2");
                    }});
    rows.push_back({n, "write_moderefresh", "EINTRRetried", 0xA5A6, true, [make, mode](Context& c) {
                        std::unique_ptr<BaseLed> face = make();
                        ASSERT_TRUE(face->init("ring"));
                        c.board.advanceMs(61000);
                        c.sandbox().setValue(mode, "2");
                        c.log.clear();
                        c.sandbox().clearJournal();
                        c.sandbox().failCalls(mode, Call::Write, EINTR, 2);
                        EXPECT_TRUE(static_cast<Ktd2061LedFace&>(*face).service());
                        const auto writes = callsOn(c, mode, Call::Write);
                        ASSERT_EQ(writes.size(), 3u);
                        EXPECT_EQ(writes[1].error, EINTR);
                        EXPECT_EQ(writes[2].bytes, orva::test::withNul("0"));
                        EXPECT_EQ(c.board.value(mode), "0");
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "write_moderefresh", "ShortWrite", 0xA5A6, true, [refreshFails, mode](Context& c) {
                        // The one byte taken is the whole digit.
                        refreshFails(c, [&c, &mode] { c.sandbox().shortWrite(mode, 1); }, 0, "0");
                    }});
    for (size_t i = first; i < rows.size(); ++i) rows[i].keptOpen = rows[i].sysid == 0xA598 ? 18 : 19;
}

// ---- the status ring of 0xA5B0: the other three kinds of node, and the white LEDs' values ----

void addMulticolourFileRows(std::vector<Row>& rows) {
    const std::string n = "MulticolorLedFace";
    const std::string source = "src/MulticolorLedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new MulticolorLedFace()); };
    const Expected info{source, "initGPIO", 6, 0,
                        "maxNumLed[10] maxNumWledModule[4] isRgbGroup[0] maxNumRgbGroup[0] maxIteration[10]"};
    addInitOpenRows(rows, n, "open_statusbrightness", 0xA5B0, false, make, multicolour("status", 0, "brightness"),
                    source, false, true, {}, {info});
    addInitOpenRows(rows, n, "open_indicatorintensity", 0xA5B0, false, make,
                    multicolour("indicator", 0, "multi_intensity"), source, false, true, {}, {info});
    addInitOpenRows(rows, n, "open_indicatorbrightness", 0xA5B0, false, make, multicolour("indicator", 0, "brightness"),
                    source, false, true, {}, {info});
    // White: the first indicator device takes the first three white LEDs after the first two colour
    // nodes; the face took the value all the same, so the same value again draws nothing.
    addWriteSiteRows(rows, {n, "write_white", 0xA5B0, false, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK)); },
                            multicolour("indicator", 0, "multi_intensity"), source, "update", "255 255 255",
                            [](BaseLed& led) { return led.setValue(100, false); }, {kBaseLedWriteFailed},
                            [](Context& c, BaseLed& led) {
                                EXPECT_TRUE(led.setValue(100, false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
}

// ---- the rest of the AV colour LED's channel writes and reads, and the RGB LED's animation stop ----

void addAvChannelRows(std::vector<Row>& rows) {
    const std::string n = "CompoundLedFace";
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new CompoundLedFace()); };
    const auto nothingAtUser50 = [](Context& c, BaseLed& led) {
        EXPECT_TRUE(led.setValue(50, false));  // still 50: nothing to write
        EXPECT_THAT(c.sandbox().journal(), IsEmpty());
    };
    // Blue lit: a value goes to the AV LED, then to the blue channel (user 80 is 79).
    addWriteSiteRows(rows, {n, "write_valuechannel", 0xA573, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setValue(50, false));
                                ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
                            },
                            kBlueChannel, kAvSource, "writeValue", "79", [](BaseLed& led) { return led.setValue(80, false); },
                            {kBaseLedWriteFailed}, nothingAtUser50});
    // Red on blue: the blue background shows full (99) while the light is off.
    addWriteSiteRows(rows, {n, "write_valuebackground", 0xA573, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
                                ASSERT_TRUE(led.setValue(50, false));
                            },
                            kBlueChannel, kAvSource, "writeValue", "99", [](BaseLed& led) { return led.setValue(0, false); },
                            {kBaseLedWriteFailed}, nothingAtUser50});
    // Lit blue, then red: the blue channel goes dark first; if it cannot, the colours stay.
    addWriteSiteRows(rows, {n, "write_darkenold", 0xA573, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setValue(50, false));
                                ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
                            },
                            kBlueChannel, kAvSource, "setColor", "0",
                            [](BaseLed& led) { return led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_BLUE);
                                EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // Off with a blue background, then no background: the blue channel goes dark first; if it
    // cannot, the colours stay and the channel keeps its full level.
    addWriteSiteRows(rows, {n, "write_darkenoldbackground", 0xA573, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
                                ASSERT_TRUE(led.setValue(50, false));
                                ASSERT_TRUE(led.setValue(0, false));
                            },
                            kBlueChannel, kAvSource, "setColor", "0",
                            [](BaseLed& led) { return led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_BLUE);
                                EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // Lit red, background to blue: the AV LED's background goes black, the blue channel dark (0).
    addWriteSiteRows(rows, {n, "write_background", 0xA573, false, make,
                            [](BaseLed& led) {
                                ASSERT_TRUE(led.setValue(50, false));
                                ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                            },
                            kBlueChannel, kAvSource, "setColor", "0",
                            [](BaseLed& led) { return led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_BLUE);
                                EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
    // readValue of an AV LED colour reads the AV LED's brightness file.
    const auto readFails = [](Context& c, const std::function<void()>& inject, int error, int count) {
        AvFace t(c);
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        c.log.clear();
        inject();
        errno = 0;
        int value = -7;
        EXPECT_FALSE(t.face.readValue(value));
        EXPECT_EQ(value, -7);
        EXPECT_THAT(c.log.records(),
                    ElementsAre(Expected{kAvSource, "readValue", 3, error,
                                         "Failed to read from proc entry " + av::hex(t.fd(av::kAvBrightness)) +
                                             ", num bytes read " + std::to_string(count)}));
    };
    rows.push_back({n, "read_avbrightness", "EIO", 0xA573, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().failCalls(av::kAvBrightness, Call::Read, EIO); }, EIO, -1);
                    }});
    rows.push_back({n, "read_avbrightness", "EINTRRetried", 0xA573, false, [](Context& c) {
                        AvFace t(c);
                        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
                        c.sandbox().failCalls(av::kAvBrightness, Call::Read, EINTR, 2);
                        c.sandbox().clearJournal();
                        int value = -7;
                        EXPECT_TRUE(t.face.readValue(value));
                        EXPECT_EQ(value, 1);
                        EXPECT_EQ(callsOn(c, av::kAvBrightness, Call::Read).size(), 3u);
                        EXPECT_THAT(c.log.records(), IsEmpty());
                    }});
    rows.push_back({n, "read_avbrightness", "EmptyRead", 0xA573, false, [readFails](Context& c) {
                        readFails(c, [&c] { c.sandbox().emptyRead(av::kAvBrightness); }, 0, 0);
                    }});
}

void addRgbAnimationStopRows(std::vector<Row>& rows) {
    const FaceFactory make = [] { return std::unique_ptr<BaseLed>(new RgbLedFace()); };
    // Stopping an animation writes "none" to the animation trigger; the stop is kept all the same.
    addWriteSiteRows(rows, {"RgbLedFace", "write_animstop", 0xA563, false, make,
                            [](BaseLed& led) { ASSERT_TRUE(led.setAnimEnable(true)); }, av::kAnimTrigger,
                            "src/RgbLedFace", "setAnimEnable", "none",
                            [](BaseLed& led) { return led.setAnimEnable(false); }, {},
                            [](Context& c, BaseLed& led) {
                                EXPECT_FALSE(led.readAnimEnable());
                                EXPECT_TRUE(led.setAnimEnable(false));
                                EXPECT_THAT(c.sandbox().journal(), IsEmpty());
                            }});
}

// ---- the matrix ----

// Every subject and its system call sites. A subject without sites makes no system call.
const std::vector<Subject>& subjects() {
    static const std::vector<Subject> all = {
        {"ResetGPIOButtonCase", {"open", "read", "close"}},
        {"RingButton", {"open", "read", "close"}},
        {"EnclosureDetButton", {"open", "read", "close"}},
        {"DCCableDetector", {"open", "read", "close"}},
        {"ResetShmemButtonCase", {"shmget", "shmat", "shmctl", "shmdt"}},
        {"ResetButtonCase", {"open", "read", "shmget", "shmat", "shmctl", "shmdt", "close"}},
        {"LedFace", {"open", "read", "write", "close"}},
        {"GreenLedFace", {"open", "write", "write_colour", "close"}},
        {"GreenLedFaceA574", {"open", "write", "write_colour", "close"}},
        {"LedGlow", {"open", "write_startdark", "read", "write", "close"}},
        {"LedGlowTorchA574", {"open", "write_torchzero", "write_startdark", "read", "write", "close"}},
        {"LedSysfsA5A0", {"open", "write", "close"}},
        {"LedSysfsA597",
         {"open_firstunit", "write_firstunit", "close_firstunit", "open_secondunit", "read_secondunit",
          "write_secondunit", "close_secondunit"}},
        {"LedSysfsA5A3", {"open_i2c", "write_i2c", "close_i2c", "open_usb", "write_usb", "close_usb"}},
        {"UartcliLedFace", {"exec_takecontrol", "exec_releasecontrol", "exec_setcolour", "open", "write", "close"}},
        {"CompoundLedFace",
         {"open_channel", "open_bluechannel", "open_brightness", "open_colourfg", "open_colourbg", "open_trigger",
          "write_dark", "write_darkblue", "write_trigger", "write_value", "write_colour", "write_colourbg",
          "write_channel", "write_valuechannel", "write_valuebackground", "write_darkenold",
          "write_darkenoldbackground", "write_background", "read", "read_avbrightness", "close"}},
        {"RgbLedFace",
         {"open_brightness", "open_colourfg", "open_colourbg", "open_trigger", "open_animdensity", "open_animcolourfg",
          "open_animcolourbg", "open_animtrigger", "write_trigger", "write_value", "write_colour", "write_colourbg",
          "write_animcolour", "write_animcolourbg", "write_animdensity", "write_animstep", "write_animstop", "read",
          "close"}},
        {"MulticolorLedFace",
         {"open", "open_statusbrightness", "open_indicatorintensity", "open_indicatorbrightness", "write_brightness",
          "write_intensity", "write_white", "close"}},
        {"Ktd2061LedFace", {"open", "write_pattern", "write_brightness", "write_mode", "write_moderefresh"}},
        {"LedPower", {}},
        {"McuLedFace", {}},
        {"LedPhy", {"mdioinit", "mdioread", "mdioread_save", "mdiowrite"}},
        {"LedIrA532", {"exec"}},
        {"LedIrA533", {"open", "read_init", "write", "read", "close"}},
        {"LedIrA598",
         {"open_wide", "open_accessory", "open_white", "write_white", "write_accessory", "read_whitelevel",
          "write_whitelevel", "close"}},
        {"LedIrA5A4", {"open_wide", "write_fadetele", "write_fadewide", "close"}},
    };
    return all;
}

std::vector<Row> allRows() {
    std::vector<Row> rows;
    addButtonRows<ResetGPIOButtonCase>(rows, "ResetGPIOButtonCase", 0xA533, "/proc/gpio/reset_btn");
    addButtonRows<RingButton>(rows, "RingButton", 0xA575, "/proc/gpio/ring_btn");
    addButtonRows<EnclosureDetButton>(rows, "EnclosureDetButton", 0xA5B0, "/proc/gpio/enclosure_det");
    addButtonRows<DCCableDetector>(rows, "DCCableDetector", 0xA5C0, "/proc/gpio/dcpowered");
    addShmemRows(rows);
    addResetCaseRows(rows);
    addResetCaseSegmentRows(rows);
    addKeptFileRows<LedFace>(rows, kFrontLight, true);
    addKeptFileRows<GreenLedFace>(rows, kGreenLed, false);
    addGreenColourRows(rows);
    addKeptFileRows<GreenLedFace>(rows, kGreenLedA574, false);
    addGreenA574ColourRows(rows);
    addKeptFileRows<LedGlow>(rows, kGlow, true);
    addGlowStartDarkRows(rows);
    addKeptFileRows<LedGlow>(rows, kTorchGlow, true);
    addTorchGlowRows(rows);
    addPerWriteRows<LedSysfs>(rows, kSysfsRed);
    addLp5012ReadRows(rows);
    addA5A3FileRows(rows);
    addLp5012FileRows(rows);
    addPerWriteRows<UartcliLedFace>(rows, kUartcliWhite);
    addUartcliToolRows(rows);
    addAvRows(rows);
    addAvFileRows(rows);
    addAvChannelRows(rows);
    addRgbRows(rows);
    addRgbFileRows(rows);
    addRgbAnimationStopRows(rows);
    addMulticolourRows(rows);
    addMulticolourFileRows(rows);
    addKtdRows(rows);
    addKtdNodeRows(rows);
    addPhyRows(rows);
    addInfraredRows(rows);
    addInfraredFileRows(rows);
    addInfraredA598Rows(rows);
    addInfraredA5A4Rows(rows);
    return rows;
}

const std::vector<Row>& rows() {
    static const std::vector<Row> all = allRows();
    return all;
}

// The number of cells: for each subject, the sum over its sites of the faults of the site's kind.
constexpr size_t kMatrixSize = 4 * (4 + 3 + 1)    // the four proc-entry buttons
                               + 4                  // the shared-memory reset button
                               + (4 + 3 + 1 + 4 * 1)  // the reset button case: the entry or the segment
                               + (4 + 3 + 3 + 1)    // LedFace
                               + (4 + 3 + 3 + 1)    // GreenLedFace
                               + (4 + 3 + 3 + 1)    // GreenLedFace on 0xA574
                               + (4 + 3 + 3 + 3 + 1)  // LedGlow
                               + (4 + 3 + 3 + 3 + 3 + 1)  // LedGlow on a torch board
                               + (4 + 3 + 1)        // LedSysfs on 0xA5A0
                               + (2 * (4 + 3 + 1) + 3)  // LedSysfs on 0xA597: two LP5012 units
                               + 2 * (4 + 3 + 1)    // LedSysfs on 0xA5A3: the I2C and the USB file
                               + (3 * 3 + 4 + 3 + 1)  // UartcliLedFace
                               + (6 * 4 + 12 * 3 + 2 * 3 + 1)  // CompoundLedFace
                               + (8 * 4 + 9 * 3 + 3 + 1)  // RgbLedFace
                               + (4 * 4 + 3 * 3 + 1)  // MulticolorLedFace
                               + (4 + 4 * 3)        // Ktd2061LedFace
                               + 4                  // LedPhy
                               + 3                  // LedIr on 0xA532: the factory tool
                               + (4 + 3 + 3 + 3 + 1)  // LedIr on 0xA533: one backlight
                               + (3 * 4 + 3 * 3 + 3 + 1)  // LedIr on 0xA598: wide, accessory and white outputs
                               + (4 + 2 * 3 + 1);   // LedIr on 0xA5A4: two channels fading together

class FaultMatrix : public ::testing::TestWithParam<Row> {};

TEST_P(FaultMatrix, Case) { orva::test::matrix::runRow(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Cells, FaultMatrix, ::testing::ValuesIn(rows()),
                         [](const ::testing::TestParamInfo<Row>& cell) { return rowName(cell.param); });

TEST(FaultMatrixTable, EveryCellHasExactlyOneRow) {
    using orva::test::matrix::Cell;
    const std::set<Cell> declared = orva::test::matrix::declaredCells(subjects());
    std::multiset<Cell> present;
    for (const Row& row : rows()) present.emplace(row.subject, row.site, row.fault);
    for (const Cell& cell : declared) {
        EXPECT_EQ(present.count(cell), 1u)
            << std::get<0>(cell) << " " << std::get<1>(cell) << " " << std::get<2>(cell);
    }
    for (const Cell& cell : present) {
        EXPECT_EQ(declared.count(cell), 1u) << "row of no declared cell: " << std::get<0>(cell) << " "
                                            << std::get<1>(cell) << " " << std::get<2>(cell);
    }
    size_t sites = 0;
    for (const Subject& subject : subjects()) sites += subject.sites.size();
    std::printf("fault matrix: %zu subjects, %zu call sites, %zu cells, %zu rows\n", subjects().size(), sites,
                declared.size(), rows().size());
    EXPECT_EQ(declared.size(), kMatrixSize);
    EXPECT_EQ(rows().size(), kMatrixSize);
}

// The subjects without sites touch no file, segment, program or PHY even through a full cycle.
TEST(FaultMatrixTable, SubjectsWithoutSitesMakeNoCall) {
    orva::sim::SimBoard board(0xA574);
    orva::test::LogCapture log;
    {
        LedPower power;
        McuLedFace mcu;
        ASSERT_TRUE(power.init("power"));
        ASSERT_TRUE(mcu.init("status"));
        EXPECT_TRUE(power.setValue(1, false));
        EXPECT_TRUE(mcu.setValue(40, false));
        EXPECT_TRUE(mcu.save());
        EXPECT_TRUE(mcu.restore());
    }
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
