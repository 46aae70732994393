// Locked lists: deferred removal and walks that hold the lock.
#include "platform/lists.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

TEST(CopiableSList, RemovalUnderTheRemovalLockIsDeferredUntilTheLastUnlock) {
    CopiableSList<std::shared_ptr<int>> list;
    auto first = std::make_shared<int>(1);
    auto second = std::make_shared<int>(2);
    list.Add(first);
    list.Add(second);
    list.lock_remove();
    list.lock_remove();
    std::shared_ptr<int>& held = list[0];
    list.Remove(0);
    EXPECT_EQ(*list[0], 2);
    EXPECT_EQ(first.use_count(), 2) << "element must outlive its removal while locked";
    EXPECT_EQ(*held, 1);
    list.Remove(5); // out of range: ignored

    list.unlock_remove();
    EXPECT_EQ(first.use_count(), 2) << "still one removal lock held";
    list.RemoveAll();
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(second.use_count(), 2);

    list.unlock_remove();
    EXPECT_EQ(first.use_count() + second.use_count(), 2);

    // Without the removal lock elements go at once.
    list.Add(first);
    list.Remove(0);
    EXPECT_EQ(first.use_count(), 1);
    list.unlock_remove(); // unbalanced unlock must not underflow the count
    list.Add(first);
    list.lock_remove();
    list.Remove(0);
    EXPECT_EQ(first.use_count(), 2);
    list.unlock_remove();
    EXPECT_EQ(first.use_count(), 1);
}

TEST(CopiableSList, WalkHoldsTheLockAgainstOtherThreads) {
    CopiableSList<int> list;
    list.Add(1);
    std::atomic<bool> added{false};
    std::thread writer;
    int seen = 0;
    list.ForEach([&](int& v) {
        seen += v;
        writer = std::thread([&] {
            list.Add(2);
            added = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(added.load()) << "another thread changed the list during a walk";
        // The lock is recursive: the walking thread itself may still read.
        EXPECT_EQ(list.GetCount(), 1u);
    });
    writer.join();
    EXPECT_TRUE(added.load());
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(list.GetCount(), 2u);
}
