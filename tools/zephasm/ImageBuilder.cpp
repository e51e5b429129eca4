#include "zephasm/ImageBuilder.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "files/FileManager.h"
#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/TaggedFile.h"

namespace {

// Small tables load fast, and few programs fill even these.
const int kDefaultBits[kBucketTables] = {8, 8, 8, 4};

const int kLanguageBlock = 8;

// Gives a table the names that it asks for under the entries that are known already.
class KnownNames : public NamePool {
public:
    explicit KnownNames(Dictionary* dictionary) : m_dictionary(dictionary) {}

    const char* Entry(int index, int* size) override { return m_dictionary->Entry(index, size); }
    int Entry_Add(const char*, int) override { return m_next; }
    void SetNext(int index) { m_next = index; }

private:
    Dictionary* m_dictionary;  // borrowed
    int m_next = -1;
};

}  // namespace

ImageBuilder::ImageBuilder()
    : m_texts(&m_dictionary),
      m_system(&m_dictionary),
      m_global(&m_dictionary),
      m_languages(&m_dictionary)
{
    memcpy(m_bits, kDefaultBits, sizeof m_bits);
}

ImageBuilder::~ImageBuilder()
{
    delete m_function_table;
    for (int i = 0; !m_function_table && i < m_functions.count(); ++i)
        delete m_functions[i];
}

void ImageBuilder::SetIdentifier(const char* bytes)
{
    memcpy(m_identifier, bytes, kIdentifierSize);
}

int ImageBuilder::Text(const char* text, int length)
{
    int entry = m_texts.Find(text, length);
    return entry >= 0 ? entry : AddText(text, length);
}

int ImageBuilder::AddText(const char* text, int length)
{
    int entry = m_dictionary.Entry_Add(text, length);
    m_texts.Add(entry);
    return entry;
}

// The manager keeps its slot 0 for the first segment.
Segment* ImageBuilder::AddSegment()
{
    return m_segment_count++ == 0 ? m_segments.Start() : m_segments.Segment_Add();
}

void ImageBuilder::SetStart(const Segment* segment)
{
    m_segments.SetStart(segment->number());
}

Function* ImageBuilder::AddFunction(int name, int flags)
{
    Function* function = new Function(&m_dictionary, name, flags, -1, -1);
    m_functions.Add(function);
    return function;
}

void ImageBuilder::AddParameter(Function* function, int name, int flags)
{
    AddParameter(function, name, flags, function->locals()->Insert(name));
}

void ImageBuilder::AddParameter(Function* function, int name, int flags, int slot)
{
    function->parameters()->Insert(new FunctionParameter(&m_dictionary, name, flags, slot),
                                   kListTail);
}

void ImageBuilder::MakeFunctions()
{
    if (m_function_table)
        return;
    m_function_table = new FunctionManager(&m_dictionary, m_bits[kFunctionBuckets]);
    for (int i = 0; i < m_functions.count(); ++i) {
        int length;
        const char* name = m_dictionary.Entry(m_functions[i]->name_index(), &length);
        m_function_table->Function_Add(m_functions[i], name ? name : "", length);
    }
}

int ImageBuilder::FindFunction(const char* name, int length)
{
    MakeFunctions();
    Function* function = m_function_table->Function_Get(name, length);
    return function ? function->index() : -1;
}

int ImageBuilder::AddLanguage(int name)
{
    m_language_names.Add(name);
    return m_languages.Declare(name);
}

int ImageBuilder::FindLanguage(const char* name, int length)
{
    return m_languages.Find(name, length);
}

void ImageBuilder::AddPiece(int type, int identifier, int next)
{
    m_pieces.Entry_Add(type, identifier, next);
}

void ImageBuilder::AddLocalized(int language, int key, int first)
{
    m_localized.Add({language, key, first});
}

bool ImageBuilder::Write(FileManager* manager, const char* path, String* error)
{
    MakeFunctions();
    m_dictionary.Compress();
    // Every entry, even an empty one, must lie at a byte.
    int length = 0;
    for (int i = 0; length == 0 && i < m_dictionary.Entries(); ++i)
        m_dictionary.Entry(i, &length);
    if (length == 0 && m_dictionary.Entries() > 0)
        m_dictionary.Entry_Add("-", 1);
    char suffix[32];
    snprintf(suffix, sizeof suffix, ".%d.new", int(getpid()));
    String new_path = String(path) + suffix;
    TaggedFile file(manager);
    bool is_written = false;
    if (!file.Create(new_path.data(), m_identifier, m_version)) {
        *error = file.error();
    } else if (WriteSections(&file, error)) {
        is_written = file.Section_Flush();
        if (!is_written)
            *error = file.error();
    }
    file.Close();
    if (is_written && rename(new_path.data(), path) == 0)
        return true;
    if (is_written)
        *error = manager->lasterror();
    unlink(new_path.data());
    return false;
}

bool ImageBuilder::WriteSections(TaggedFile* file, String* error)
{
    if (!m_dictionary.Write(file)) {
        *error = m_dictionary.error();
        return false;
    }
    if (!m_system.Write(file, SectionTag('s', 'y', 's', 't'), m_bits[kSystemBuckets], error) ||
        !m_global.Write(file, SectionTag('g', 'l', 'b', 'l'), m_bits[kGlobalBuckets], error) ||
        !WriteLanguages(file, error))
        return false;
    if (!m_segments.Write(file)) {
        *error = m_segments.error();
        return false;
    }
    if (!m_function_table->Write(file)) {
        *error = m_function_table->error();
        return false;
    }
    return true;
}

// Each index follows the list of languages; a language without a text has an empty one.
bool ImageBuilder::WriteLanguages(TaggedFile* file, String* error)
{
    KnownNames names(&m_dictionary);
    LocalizedLanguages languages(nullptr, &names, nullptr, m_bits[kLanguageBuckets],
                                 kLanguageBlock);
    for (int i = 0; i < m_language_names.count(); ++i) {
        int length;
        const char* name = m_dictionary.Entry(m_language_names[i], &length);
        names.SetNext(m_language_names[i]);
        languages.Add_Entry(name ? name : "", length);
    }
    for (int i = 0; i < m_localized.count(); ++i)
        languages.Add_Entry(m_localized[i].language, m_localized[i].key, m_localized[i].first);
    if (!languages.Write(file)) {
        *error = languages.error();
        return false;
    }
    if (!m_pieces.Write(file)) {
        *error = m_pieces.error();
        return false;
    }
    return true;
}
