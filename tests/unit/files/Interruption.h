#ifndef ZEPH_TESTS_INTERRUPTION_H
#define ZEPH_TESTS_INTERRUPTION_H

#include <functional>
#include <string>

// Does something at the one moment for which another process would need luck: right
// before the program makes a certain call. It counts the calls of its kind whose path
// ends in `name` and acts on the one of the number `turn`, from 1, once. The test fails
// if that call never comes.
//
// Several may be alive at a time; what one does is not seen by any of them.
class Interruption {
public:
    enum Call {
        kOpen,
        kLstat,
        kChdir
    };

    Interruption(Call call, std::string name, int turn, std::function<void()> action);
    ~Interruption();

    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // For the wrapped calls.
    static void Notice(Call call, const char* path);

private:
    void Count(Call call, const std::string& name);

    Call m_call;
    std::string m_name;
    int m_turns_left;
    std::function<void()> m_action;
    Interruption* m_next;  // borrowed: the one made before
};

#endif
