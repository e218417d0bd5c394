// Many threads and sudden death: what a save acknowledged is never lost.
#include "TNAnnotationTestSupport.h"

#include "Utilities/KCStringConversion.h"

#include <chrono>
#include <csignal>
#include <poll.h>
#include <random>
#include <set>
#include <sys/wait.h>
#include <thread>

namespace {

std::u16string numbered(const char16_t* prefix, int64_t n)
{
    return prefix + KCUTF16FromUTF8(std::to_string(n));
}

TEST(TNAnnotationStress, TwoThreadsInsertAndUpdateThroughTheirOwnContexts)
{
    TNScratchStore scratch;
    constexpr int kCount = 1000;
    std::u16string sharedUuid;
    {
        auto context = scratch.store->newManagedObjectContext();
        sharedUuid = *TNAnnotation::insertAnnotationWithAssetID(u"SHARED", u"me", std::nullopt, context.get())->annotationUuid();
        ASSERT_TRUE(scratch.store->saveManagedObjectContext(*context));
    }
    auto work = [&](int thread) {
        auto context = scratch.store->newManagedObjectContext();
        auto shared = TNAnnotation::annotationWithUUID(sharedUuid, u"SHARED", context.get());
        for (int i = 0; i < kCount; ++i) {
            auto mine = TNAnnotation::insertAnnotationWithAssetID(numbered(u"T", thread), u"me", numbered(u"U", thread * kCount + i), context.get());
            mine->setAnnotationNote(numbered(u"note ", i));
            mine->setAnnotationStyle(1 + i % 5);
            if (i % 50 == 49) {
                // Each thread changes its own field of one shared annotation; both survive.
                if (thread == 0)
                    shared->setAnnotationNote(numbered(u"from 0: ", i));
                else
                    shared->setAnnotationLocation(numbered(u"from 1: ", i));
                EXPECT_TRUE(scratch.store->saveManagedObjectContext(*context));
            }
        }
    };
    std::thread first(work, 0), second(work, 1);
    first.join();
    second.join();

    auto context = scratch.store->newManagedObjectContext();
    for (int thread = 0; thread < 2; ++thread) {
        auto annotations = TNAnnotation::annotationsForAssetID(numbered(u"T", thread), false, context.get());
        ASSERT_EQ(annotations->size(), size_t(kCount));
        for (int i = 0; i < kCount; ++i) {
            const auto& annotation = (*annotations)[static_cast<size_t>(i)];
            ASSERT_EQ(annotation->annotationUuid(), numbered(u"U", thread * kCount + i));
            ASSERT_EQ(annotation->annotationNote(), numbered(u"note ", i));
            ASSERT_EQ(annotation->annotationStyle(), 1 + i % 5);
        }
    }
    auto shared = TNAnnotation::annotationWithUUID(sharedUuid, u"SHARED", context.get());
    EXPECT_EQ(shared->annotationNote(), u"from 0: 999");
    EXPECT_EQ(shared->annotationLocation(), u"from 1: 999");
}

// The child saves batches in a loop and reports each save that returned.
[[noreturn]] void saveUntilKilled(const KCURL& url, int64_t first, int reportFd)
{
    TNAnnotationStoreDataSource store(url);
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    if (!context || !store.persistentStore())
        _exit(2);
    for (int64_t next = first;;) {
        int64_t batch = 1 + next % 7;
        for (int64_t i = 0; i < batch; ++i)
            TNAnnotation::insertAnnotationWithAssetID(u"CRASH", u"child", numbered(u"K", next + i), context.get())->setAnnotationNote(u"saved");
        store.incrementGeneration("CrashGeneration");
        if (!store.saveManagedObjectContext(*context))
            _exit(3);
        next += batch;
        if (write(reportFd, &next, sizeof next) != sizeof next)
            _exit(4);
    }
}

TEST(TNAnnotationStress, AcknowledgedSavesSurviveSIGKILL)
{
    TNScratchStore scratch;
    scratch.store.reset();
    constexpr int kKills = 50;
    std::mt19937 random(20240601);
    std::set<std::u16string> acknowledged;
    int64_t next = 0;
    for (int round = 0; round < kKills; ++round) {
        int pipeFds[2];
        ASSERT_EQ(pipe(pipeFds), 0);
        int64_t first = next;
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(pipeFds[0]);
            saveUntilKilled(scratch.url(), first, pipeFds[1]);
        }
        close(pipeFds[1]);
        // Let the child reach its first save or get going, then kill it at a random moment.
        pollfd ready {pipeFds[0], POLLIN, 0};
        poll(&ready, 1, 5000);
        std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 20000)(random)));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the child ended by itself with " << WEXITSTATUS(status);
        int64_t reported = first;
        while (read(pipeFds[0], &reported, sizeof reported) == sizeof reported) {
            for (int64_t i = next; i < reported; ++i)
                acknowledged.insert(numbered(u"K", i));
            next = reported;
        }
        close(pipeFds[0]);
        // Numbers a killed save may have used are never reused, so each round starts past them.
        next += 100;

        scratch.reopen();
        ASSERT_TRUE(scratch.store->persistentStore()) << "round " << round;
        auto context = scratch.store->newManagedObjectContext();
        auto stored = TNAnnotation::annotationsForAssetID(u"CRASH", false, context.get());
        std::set<std::u16string> present;
        for (const auto& annotation : *stored)
            present.insert(*annotation->annotationUuid());
        for (const auto& uuid : acknowledged)
            ASSERT_TRUE(present.count(uuid)) << "lost " << KCUTF8FromUTF16(uuid) << " in round " << round;
        context.reset();
        scratch.store.reset();
    }
    EXPECT_GT(acknowledged.size(), size_t(kKills));
}

} // namespace
