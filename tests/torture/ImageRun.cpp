#include "ImageRun.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include "KnownTexts.h"
#include "app/Output.h"
#include "app/VMApplication.h"
#include "config/ExternalCall.h"
#include "config/UNIXExternalLibrary.h"
#include "files/File.h"
#include "files/UNIXFileManager.h"
#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedIndex.h"
#include "image/LocalizedLanguages.h"
#include "image/SegmentManager.h"
#include "image/TaggedFile.h"
#include "variables/SystemVariableHash.h"
#include "vm/ZephVM.h"

namespace {

const size_t kKept = 4096;  // bytes of a page that are kept
const int kLookups = 600;   // names that are looked up, at most

// Sizes of a request's tables.
const int kVariableBits = 12;
const int kVariableBlock = 512;
const int kFunctionBits = 8;
const int kLanguageBits = 12;
const int kLanguageBlock = 8;

const char kName[] = "image.zpc";

int* volatile running_flag;

// Keeps the beginning of what is written, in the order of writing.
class KeptOutput : public Output {
public:
    int Write(const char* bytes, int length) override
    {
        if (text.size() + size_t(length) > kKept)
            is_cut = true;
        text.append(bytes,
                    size_t(length) < kKept - text.size() ? size_t(length) : kKept - text.size());
        RememberSpace(bytes, length);
        return length;
    }
    int Flush() override { return 0; }
    int type() override { return kBuffered; }

    std::string text;
    bool is_cut = false;
};

// An application that has files and an output, and nothing else.
class RunApplication : public VMApplication {
public:
    explicit RunApplication(FileManager* files) : m_files(files) {}

    FileManager* filemanager() override { return m_files; }
    ExternalLibraryManager* librarymanager() override { return nullptr; }
    Config* config() override { return nullptr; }
    const char* basename() override { return "torture"; }
    const char* hostname() override { return "localhost"; }
    const char* lasterror() override { return "Unknown error"; }
    Output* output() override { return &kept; }
    Output* SetOutput(Output*) override { return &kept; }
    char* MakeSessionID(int*) override { return nullptr; }
    int processid() override { return 1; }
    int threadid() override { return 1; }
    const char* lockhostname() override { return "localhost"; }
    int lockexpiration() override { return 90; }
    int OutputError(const char* bytes, int length) override
    {
        error.append(bytes, size_t(length));
        return 0;
    }
    void Sleep(int) override {}
    const String& GetUserID() override { return m_user; }
    void AsynchronousSleep(long, Zeph_PathType, const char*) override {}
    const char* process_name() override { return "torture"; }
    void SetProcessName(const char*, int) override {}

    KeptOutput kept;
    std::string error;

private:
    FileManager* m_files;
    String m_user{"0"};
};

std::string Text(const String& text)
{
    return std::string(text.data(), size_t(text.length()));
}

// A loaded file: the objects of a request, in the order of their making.
class LoadedImage {
public:
    LoadedImage(RunApplication* application, TaggedFile* file)
        : m_application(application),
          m_file(file),
          m_languages(application, &m_dictionary, file, kLanguageBits, kLanguageBlock)
    {
    }

    // The reader's text in `error`.
    bool Read(std::string* error)
    {
        return Done(m_dictionary.Read(m_file), m_dictionary.error(), error) &&
               Done(m_system.Read(m_file, SectionTag('s', 'y', 's', 't')), m_system.error(),
                    error) &&
               Done(m_global.Read(m_file, SectionTag('g', 'l', 'b', 'l')), m_global.error(),
                    error) &&
               Done(m_languages.Read(), m_languages.error(), error) &&
               Done(m_localized.Read(m_file), m_localized.error(), error) &&
               Done(m_segments.Read(m_file), m_segments.error(), error) &&
               Done(m_functions.Read(m_file), m_functions.error(), error);
    }

    // Every lookup must end, whatever the chains look like.
    void LookUp()
    {
        int count = m_dictionary.Entries() < kLookups ? m_dictionary.Entries() : kLookups;
        for (int i = -1; i <= count; ++i) {
            int length = 0;
            const char* name = m_dictionary.Entry(i, &length);
            m_system.Seek(i, nullptr, 0, nullptr);
            if (!name)
                continue;
            m_functions.Function_Get(name, length);
            m_global.Seek(-1, name, length, nullptr);
            m_languages.Get_Language_Entry(name, length);
        }
        for (int i = -1; i <= count; ++i)
            for (int language = -1; language <= m_languages.Entries(); ++language)
                m_languages.Get_Entry(language, i);
        for (int i = -1; i <= count; ++i)
            FollowPieces(m_languages.Get_Entry(i));
    }

    void Execute()
    {
        ZephVM* vm =
            new ZephVM(kName, -1, m_application, &m_dictionary, &m_system, &m_global, &m_segments,
                       &m_functions, &m_calls, nullptr, nullptr, &m_languages, &m_localized,
                       m_application->heartbeat(), m_application->cancelled_flag(),
                       m_application->exit_flag(), nullptr);
        running_flag = m_application->cancelled_flag();
        vm->Go();
        running_flag = nullptr;
        vm->Shutdown();
    }

private:
    static bool Done(bool success, const String& text, std::string* error)
    {
        if (!success)
            *error = Text(text);
        return success;
    }

    // A text's pieces, as far as they can all be different ones.
    void FollowPieces(const LocalizedIndexEntry* entry)
    {
        int piece = entry ? entry->first : -1;
        for (int steps = 0; steps < m_localized.Entries(); ++steps) {
            const LocalizedDictionaryEntry* found = m_localized.Entry(piece);
            if (!found)
                return;
            m_dictionary.Entry(found->identifier, nullptr);
            piece = found->next;
        }
    }

    RunApplication* m_application;
    TaggedFile* m_file;
    Dictionary m_dictionary;
    SystemVariableHash m_system{&m_dictionary, kVariableBits, kVariableBlock};
    VariableHash m_global{&m_dictionary, kVariableBits, kVariableBlock};
    SegmentManager m_segments;
    FunctionManager m_functions{&m_dictionary, kFunctionBits};
    UNIXExternalLibraryManager m_libraries;
    ExternalCallManager m_calls{&m_libraries};
    LocalizedLanguages m_languages;
    LocalizedDictionary m_localized;
};

}  // namespace

bool RunResult::IsKnown() const
{
    if (stage == kRun)
        return text.empty() || IsMachineText(text);
    return IsReaderText(text);
}

ImageRunner::ImageRunner() : m_descriptor(memfd_create("image", MFD_CLOEXEC))
{
    if (m_descriptor < 0) {
        perror("memfd_create");
        exit(1);
    }
    m_path = "/proc/self/fd/" + std::to_string(m_descriptor);
}

ImageRunner::~ImageRunner()
{
    close(m_descriptor);
}

void ImageRunner::Cancel()
{
    if (int* flag = running_flag)
        *flag = 1;
}

void ImageRunner::WriteFile(const std::string& bytes)
{
    ssize_t written = pwrite(m_descriptor, bytes.data(), bytes.size(), 0);
    if (written != ssize_t(bytes.size()) || ftruncate(m_descriptor, off_t(bytes.size())) != 0) {
        perror("the image cannot be written");
        exit(1);
    }
}

RunResult ImageRunner::Run(const std::string& bytes)
{
    WriteFile(bytes);
    UNIXFileManager files(nullptr);
    RunApplication application(&files);
    RunResult result;
    TaggedFile file(&files);
    if (!file.Open(m_path.c_str(), kOpenRead)) {
        result.text = Text(file.error());
        return result;
    }
    result.stage = RunResult::kRead;
    LoadedImage image(&application, &file);
    if (!image.Read(&result.text))
        return result;
    result.stage = RunResult::kRun;
    file.Deactivate();
    image.LookUp();
    file.Deactivate();
    image.Execute();
    result.text = application.error;
    result.written = application.kept.text;
    result.is_cut = application.kept.is_cut;
    return result;
}
