// Ten thousand signals at random moments: whatever the application is in the middle of,
// its handler neither locks up nor leaves a sleeper behind.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <random>
#include <thread>

#include "TestCGIApplication.h"

namespace {

const int kStorm = 10000;
const int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

CGIApplication* the_application;
std::atomic<int> handled;

void CancelRun(int)
{
    the_application->Cancelled();
    ++handled;
}

class SignalStormTest : public ApplicationTest {
protected:
    SignalStormTest()
    {
        the_application = &application();
        handled = 0;
        struct sigaction action;
        memset(&action, 0, sizeof action);
        action.sa_handler = CancelRun;
        action.sa_mask = *Monitor::Signals();
        action.sa_flags = SA_RESTART;
        for (int i = 0; i < 5; ++i)
            sigaction(kSignals[i], &action, &m_former[i]);
    }
    ~SignalStormTest() override
    {
        m_done = true;
        for (int i = 0; i < 5; ++i)
            sigaction(kSignals[i], &m_former[i], nullptr);
    }

    // A thread that takes none of the signals, as the heartbeat thread does.
    template <class Work>
    std::thread Quiet(Work work)
    {
        sigset_t former;
        pthread_sigmask(SIG_BLOCK, Monitor::Signals(), &former);
        std::thread thread(work);
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
        return thread;
    }
    // Sends the storm, each signal when the one before has been handled.
    template <class Send>
    std::thread Storm(Send send)
    {
        return Quiet([this, send] {
            std::minstd_rand random(12345);
            for (int i = 0; i < kStorm; ++i) {
                unsigned int pause = random() % 200;
                while (pause-- > 0)
                    ++m_spins;
                send(kSignals[random() % 5]);
                while (handled <= i)
                    std::this_thread::yield();
            }
            m_done = true;
        });
    }
    void Work()
    {
        while (!m_done) {
            application().Sleep(1);
            application().ResetGlobalTimeout();
            application().Heartbeat(long(time(nullptr)));
            application().TimeRemaining();
        }
    }

    std::atomic<bool> m_done{false};

private:
    std::atomic<unsigned int> m_spins{0};
    struct sigaction m_former[5];
};

TEST_F(SignalStormTest, AgainstTheThreadOfTheRequest)
{
    pthread_t worker = pthread_self();
    std::thread storm = Storm([worker](int number) { pthread_kill(worker, number); });
    std::thread clock = Quiet([this] {
        while (!m_done)
            application().Heartbeat(long(time(nullptr)));
    });
    Work();
    storm.join();
    clock.join();
    EXPECT_EQ(handled, kStorm);
}

TEST_F(SignalStormTest, AgainstTheProcess)
{
    std::thread storm = Storm([](int number) { kill(getpid(), number); });
    Work();
    storm.join();
    EXPECT_EQ(handled, kStorm);
}

}  // namespace
