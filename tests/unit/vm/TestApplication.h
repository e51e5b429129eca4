#ifndef ZEPH_TESTS_UNIT_VM_TESTAPPLICATION_H
#define ZEPH_TESTS_UNIT_VM_TESTAPPLICATION_H

#include <functional>
#include <string>
#include <vector>

#include "app/LogParameter.h"
#include "app/Output.h"
#include "app/VMApplication.h"
#include "variables/Variable.h"

// Keeps what is written, and which way it came.
class RecordingOutput : public Output {
public:
    int Write(const char* bytes, int length) override
    {
        text.append(bytes, size_t(length));
        ++writes;
        if (limit && text.size() > limit)
            *limit_flag = 1;
        return length;
    }
    int Write_Compressed(const char* bytes, int length) override
    {
        compressed.append(bytes, size_t(length));
        ++writes;
        return length;
    }
    int Flush() override { return 0; }
    int type() override { return kBuffered; }

    std::string text;
    std::string compressed;
    int writes = 0;
    size_t limit = 0;           // in bytes; 0 is none
    int* limit_flag = nullptr;  // set when the limit is passed
};

// A runtime error as the application hears of it.
struct RecordedError {
    int tag;
    std::string text;
    bool shown;
};

// An application without a process around it: it records output, errors and log lines,
// and has no files, and settings only where a test gives it some.
class TestApplication : public VMApplication {
public:
    FileManager* filemanager() override { return nullptr; }
    ExternalLibraryManager* librarymanager() override { return nullptr; }
    Config* config() override { return settings; }
    const char* basename() override { return "test"; }
    const char* hostname() override { return "localhost"; }
    const char* lasterror() override { return "Unknown error"; }
    Output* output() override { return m_output; }
    Output* SetOutput(Output* output) override
    {
        Output* former = m_output;
        m_output = output;
        return former;
    }
    char* MakeSessionID(int* length) override
    {
        *length = 0;
        return new char[1]();
    }
    int processid() override { return 1; }
    int threadid() override { return 1; }
    const char* lockhostname() override { return "localhost"; }
    int lockexpiration() override { return 90; }
    int OutputError(const char* text, int length) override
    {
        errors.emplace_back(text, size_t(length));
        return 0;
    }
    void Sleep(int) override {}
    const String& GetUserID() override { return m_user; }
    void AsynchronousSleep(long, Zeph_PathType, const char*) override {}
    const char* process_name() override { return "test"; }
    void SetProcessName(const char*, int) override {}

    void Notify_FatalError(const String& text) override
    {
        fatal_errors.emplace_back(text.data(), size_t(text.length()));
    }
    void Notify_TimeoutError(const String& text) override
    {
        timeouts.emplace_back(text.data(), size_t(text.length()));
    }
    void Notify_RuntimeError(int tag, const String& text, bool show) override
    {
        runtime_errors.push_back({tag, {text.data(), size_t(text.length())}, show});
        if (on_runtime_error)
            on_runtime_error();
    }
    void Log(unsigned int event, LogParameter* parameters) override
    {
        std::string line = Log_Description(event);
        for (; parameters->type != LogParameter::kEnd; ++parameters)
            line += "|" + Rendered(*parameters);
        log.push_back(line);
    }
    void SuppressLog(bool suppressed) { m_log_suppressed = suppressed; }

    RecordingOutput recorded;
    Config* settings = nullptr;  // borrowed
    std::vector<std::string> log;
    std::vector<RecordedError> runtime_errors;
    std::function<void()> on_runtime_error;
    std::vector<std::string> errors;
    std::vector<std::string> fatal_errors;
    std::vector<std::string> timeouts;

private:
    static std::string Rendered(const LogParameter& parameter)
    {
        switch (parameter.type) {
            case LogParameter::kText:
                return String(parameter.text, parameter.length).data();
            case LogParameter::kInteger:
                return std::to_string(parameter.integer);
            case LogParameter::kDouble:
                return std::to_string(parameter.real);
            case LogParameter::kVariable:
                return "variable " + std::string(parameter.variable->value().data());
        }
        return "?";
    }

    Output* m_output = &recorded;
    String m_user{"0"};
};

#endif
