#include "server/app/WorkspaceQueue.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

namespace tessaline {
namespace {

// Members in this order so that the pool joins its threads before the queue goes.
struct WorkspaceQueueTest : testing::Test {
    WorkspaceQueue queue{pool};
    WorkerPool pool;
};

TEST_F(WorkspaceQueueTest, RunsStepsOneAtATimeInTheirOrderAndAStepOfAnIdleQueueOnTheCallingThread) {
    std::string order;
    std::promise<void> release;
    auto released = release.get_future().share();
    queue.post([&, released] {
        released.wait();
        order += "a";
    });
    queue.post([&] { order += "b"; });
    std::thread later([&] { queue.run([&] { order += "c"; }); });
    release.set_value();
    later.join();
    EXPECT_EQ("abc", order);

    std::thread::id ranOn;
    queue.run([&] { ranOn = std::this_thread::get_id(); });
    EXPECT_EQ(std::this_thread::get_id(), ranOn);
    EXPECT_THROW(queue.run([] { throw std::runtime_error("step failed"); }), std::runtime_error);
    queue.run([&] { order += "d"; });  // a step that threw let the queue go
    EXPECT_EQ("abcd", order);
}

// How the loop runs a send read while nothing else runs: at once, but never jumping the queue
// while another thread holds it.
TEST_F(WorkspaceQueueTest, RunsAtOnceOnlyWhenIdle) {
    std::string order;
    EXPECT_TRUE(queue.runIfIdle([&] {
        order += "a";
        EXPECT_FALSE(std::async(std::launch::async, [&] { return queue.runIfIdle([&] { order += "x"; }); }).get());
        std::async(std::launch::async, [&] { queue.post([&] { order += "c"; }); }).get();
        order += "b";
    }));
    queue.run([&] { order += "d"; });  // after the task left in the queue
    EXPECT_EQ("abcd", order);
}

// A task that releases the queue carries on beside the tasks after it: here it waits for one
// of them, which would never run if the queue still waited for the first.
TEST_F(WorkspaceQueueTest, ATaskThatReleasesTheQueueCarriesOnBesideTheTasksAfterIt) {
    std::promise<void> secondRan;
    auto second = secondRan.get_future();
    std::promise<std::string> firstEnded;
    queue.run([&] {  // both are waiting when the first runs
        queue.post([&] {
            queue.release();
            firstEnded.set_value(second.wait_for(std::chrono::seconds(10)) == std::future_status::ready ? "beside" : "blocked");
        });
        queue.post([&] { secondRan.set_value(); });
    });
    auto ended = firstEnded.get_future();
    ASSERT_EQ(std::future_status::ready, ended.wait_for(std::chrono::seconds(20))) << "no task ran after the releasing one";
    EXPECT_EQ("beside", ended.get());
    std::string after;
    queue.run([&] { after = "runs"; });
    EXPECT_EQ("runs", after);
}

}  // namespace
}  // namespace tessaline
