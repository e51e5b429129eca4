#ifndef ZEPH_TESTS_TORTURE_IMAGERUN_H
#define ZEPH_TESTS_TORTURE_IMAGERUN_H

#include <string>

// How far a compiled file gets, and what it says there.
struct RunResult {
    enum Stage {
        kOpen,
        kRead,
        kRun
    };

    Stage stage = kOpen;
    std::string text;     // of the failure; empty when all went well
    std::string written;  // the beginning of what the page wrote
    bool is_cut = false;  // the page wrote more than that

    bool IsKnown() const;
};

// Loads compiled files as a request does, looks every name up in every table, and
// runs the code.
//
// The files are kept in memory. One object serves many files, and after each of them
// all memory is given back.
class ImageRunner {
public:
    ImageRunner();
    ~ImageRunner();
    ImageRunner(const ImageRunner&) = delete;
    ImageRunner& operator=(const ImageRunner&) = delete;

    RunResult Run(const std::string& bytes);

    // Stops the machine that runs at this moment, if any. For signal handlers.
    static void Cancel();

private:
    void WriteFile(const std::string& bytes);

    int m_descriptor;
    std::string m_path;
};

#endif
