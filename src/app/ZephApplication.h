#ifndef ZEPH_APP_ZEPHAPPLICATION_H
#define ZEPH_APP_ZEPHAPPLICATION_H

#include "app/LogFilter.h"
#include "files/PathType.h"
#include "variables/StringClass.h"

class CommerceLibraryManager;
class Config;
class ExternalDatabaseLibraryManager;
class ExternalLibraryManager;
class FileManager;
class Output;
class SystemLibraryManager;
class ZephVM;
struct LogParameter;

// The application as every floor sees it: where settings, files and output are
// found, how long the run may last, which language it speaks, and where an error
// text goes.
//
// Knows no process and no protocol; the classes that derive from it add them. May be
// included from any floor. The counter and flags behind heartbeat() and its kin are
// polled by a running machine without a lock.
class ZephApplication {
public:
    ZephApplication() {}
    ZephApplication(const ZephApplication&) = delete;
    ZephApplication& operator=(const ZephApplication&) = delete;
    virtual ~ZephApplication() {}

    virtual FileManager* filemanager() = 0;
    virtual ExternalLibraryManager* librarymanager() = 0;
    virtual CommerceLibraryManager* commercemanager() { return nullptr; }
    virtual ExternalDatabaseLibraryManager* databasemanager() { return nullptr; }
    virtual SystemLibraryManager* systemlibrarymanager() { return nullptr; }
    virtual Config* config() = 0;
    virtual const char* basename() = 0;
    virtual const char* hostname() = 0;
    // Text of the last failed system call.
    virtual const char* lasterror() = 0;

    // Where a script's text goes. SetOutput carries the old output's flags over and
    // returns the old output, which is then the caller's.
    virtual Output* output() = 0;
    virtual Output* SetOutput(Output* output) = 0;

    // The classic password hash of a text under a salt of two bytes: a new array that the
    // caller owns (new[]), NUL-terminated.
    virtual char* Crypt(const char* text, int text_length, const char* salt, int* length,
                        int* capacity) = 0;
    // A new text of 32 printable characters, owned by the caller (new[]).
    virtual char* MakeSessionID(int* length) = 0;

    // The deadlines, in seconds since the epoch. A time-out of 0 in the settings
    // means none.
    virtual void ResetGlobalTimeout();
    virtual void ResetPOSTTimeout();
    virtual void ClearPOSTTimeout();
    virtual int cancelled() { return m_cancelled; }

    virtual int processid() = 0;
    virtual int threadid() = 0;
    virtual const char* lockhostname() = 0;
    virtual int lockexpiration() = 0;

    // Show an error in the page. All return 0, which callers return as their own
    // failure.
    virtual int Error(const String& text) { return OutputError(text.data(), text.length()); }
    virtual int Error(const char* text);
    virtual int Error(const char* text, int length) { return OutputError(text, length); }
    virtual int OutputError(const char* text, int length) = 0;

    // Waits, at most `milliseconds`, until the run is cancelled.
    virtual void Sleep(int milliseconds) = 0;
    // Decimal text of the effective user id.
    virtual const String& GetUserID() = 0;
    // In an asynchronous task: waits until `until` (seconds since the epoch), or
    // until the file at `path` is modified. Elsewhere does nothing.
    virtual void AsynchronousSleep(long until, Zeph_PathType type, const char* path) = 0;

    // One tick of the clock, at `now` seconds since the epoch.
    virtual void Heartbeat(long now);
    // Seconds until the global deadline, -1 with none.
    virtual long TimeRemaining();

    // Each text has a counter that starts at 1 and rises with every set, so that
    // whoever caches the text knows when to ask again.
    virtual const String& language() { return m_language.text; }
    virtual int languagecount() { return m_language.count; }
    virtual const String& defaultlanguage() { return m_default_language.text; }
    virtual int defaultlanguagecount() { return m_default_language.count; }
    virtual const String& defaultdatabase() { return m_default_database.text; }
    virtual int defaultdatabasecount() { return m_default_database.count; }
    virtual void SetLanguage(const char* text, int length) { m_language.Set(text, length); }
    virtual void SetDefaultLanguage(const char* text, int length);
    virtual void SetDefaultDatabase(const char* text, int length);
    virtual const String& charset() { return m_charset.text; }
    virtual int charsetcount() { return m_charset.count; }
    virtual void SetCharacterSet(const char* text, int length);
    virtual const String& GetCharacterSet() { return m_charset.text; }
    virtual bool CharacterSetIsUTF8() { return m_charset_is_utf8; }

    // The log. Logs tells whether an event at a source position is wanted at all; what is
    // written is up to the classes that derive from this one.
    virtual void ParseLogFilter(const char* text) { m_log_filter.Parse(text); }
    virtual void Log(unsigned int, LogParameter*) {}
    // What kind of event a bit is: "Function Call".
    virtual const char* Log_Description(unsigned int event);
    bool Logs(const char* file, int length, int line)
    {
        return !m_log_suppressed && m_log_filter.Passes(file, length, line);
    }

    // Where a machine reports; `show` says whether the settings let the text appear.
    virtual void Notify_FatalError(const String& text) { Error(text); }
    virtual void Notify_TimeoutError(const String& text) { Error(text); }
    virtual void Notify_RuntimeError(int tag, const String& text, bool show);

    // The process as `ps` shows it.
    virtual const char* process_name() = 0;
    virtual void SetProcessName(const char* name, int length) = 0;

    // Addresses that a machine polls.
    int* heartbeat() { return &m_heartbeat; }
    int* cancelled_flag() { return &m_cancelled; }
    int* exit_flag() { return &m_exit; }

    // The plain functions of the floors below, for whoever holds an application.
    static char* itos(int value, int* length, int* capacity);
    static char* dtos(double value, int* length, int* capacity, int precision);
    static int stoi(const char* text, int length, int* error);
    static double stod(const char* text, int length, int capacity, int* error);
    static char* EncodeEntities(const char* text, int length, int* out_length, int* out_capacity);
    static char* DecodeEntities(const char* text, int length, int* out_length, int* out_capacity);
    static char* EncodeAttribute(const char* text, int length, int* out_length, int* out_capacity);
    static char* DecodeAttribute(const char* text, int length, int* out_length, int* out_capacity);
    char* EncodeJavaScriptString(const char* text, int length, int* out_length, int* out_capacity);
    static char* StripNULLs(const char* text, int length, int* out_length, int* out_capacity);

protected:
    int m_heartbeat = 0;
    int m_cancelled = 0;
    int m_post_cancelled = 0;
    int m_exit = 0;
    long m_global_deadline = 0;  // seconds since the epoch, 0 for none
    long m_post_deadline = 0;
    bool m_log_suppressed = false;  // nothing is logged

private:
    struct CountedText {
        String text;
        int count = 1;
        void Set(const char* new_text, int length)
        {
            text.assign(new_text, length);
            ++count;
        }
    };

    LogFilter m_log_filter;
    CountedText m_language{"en-US"};
    CountedText m_default_language{"en-US"};
    CountedText m_default_database{"xbase3"};
    CountedText m_charset{"utf-8"};
    bool m_charset_is_utf8 = true;
};

#endif
