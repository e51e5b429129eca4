#include "zephasm/ImageBuilder.h"

#include <string.h>

#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/LocalizedLanguages.h"
#include "image/Segment.h"
#include "image/TaggedFile.h"
#include "variables/NameOrder.h"
#include "zephasm/OutputFile.h"

namespace {

// Small tables load fast, and few programs fill even these.
const int kDefaultBits[kBucketTables] = {8, 8, 8, 4};

const int kLanguageBlock = 8;

// Numbers of buckets, and their count, are stored in 15 bits.
const unsigned int kHighestBucket = 0x7FFF;
const int kMostHeads = 0x7FFF;

// Gives a table the names that it asks for under the entries that are known already.
class KnownNames : public NamePool {
public:
    explicit KnownNames(Dictionary* dictionary) : m_dictionary(dictionary) {}

    const char* Entry(int index, int* size) override { return m_dictionary->Entry(index, size); }
    int Entry_Add(const char*, int) override { return m_next; }
    NamePool* Clone() override { return m_dictionary->Clone(); }
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

// The names of a table by number. Functions and languages without one count as empty.
int ImageBuilder::NameCount(BucketTable table) const
{
    switch (table) {
        case kSystemBuckets:
            return m_system.names().count();
        case kGlobalBuckets:
            return m_global.names().count();
        case kFunctionBuckets:
            return m_functions.count();
        case kLanguageBuckets:
            return m_language_names.count();
    }
    return 0;
}

const char* ImageBuilder::Name(BucketTable table, int number, int* length)
{
    const char* name = nullptr;
    switch (table) {
        case kSystemBuckets:
            return m_dictionary.Entry(m_system.names()[number], length);
        case kGlobalBuckets:
            return m_dictionary.Entry(m_global.names()[number], length);
        case kFunctionBuckets:
            name = m_dictionary.Entry(m_functions[number]->name_index(), length);
            break;
        case kLanguageBuckets:
            name = m_dictionary.Entry(m_language_names[number], length);
            break;
    }
    return name ? name : "";
}

bool ImageBuilder::BucketsFit(BucketTable table, TextBuffer* fault)
{
    HashChains chains(m_bits[table]);
    if (chains.buckets() <= kHighestBucket)
        return true;
    Array<char> is_used;
    is_used.Fill(int(kHighestBucket) + 1, 0);
    int used = 0;
    for (int i = 0; i < NameCount(table); ++i) {
        int length = 0;
        const char* name = Name(table, i, &length);
        if (!name)
            continue;
        unsigned int bucket = chains.Bucket(NameHash(name, length));
        if (bucket > kHighestBucket) {
            fault->AddQuoted(name, length);
            fault->Format(
                " belongs to bucket %u of so many, and numbers above 32767 cannot be "
                "stored",
                bucket);
            return false;
        }
        used += !is_used[int(bucket)];
        is_used[int(bucket)] = 1;
    }
    if (used > kMostHeads)
        fault->Add("the names belong to 32768 buckets of so many, and 32767 can be stored");
    return used <= kMostHeads;
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
    OutputFile out(path);
    if (!out.Start(error))
        return false;
    TaggedFile file(manager);
    *error = "";
    bool is_written = file.Create(out.temporary(), m_identifier, m_version) &&
                      WriteSections(&file, error) && file.Section_Flush();
    if (!is_written && error->length() == 0)
        *error = file.error();
    // A write that gives less than was asked for has no text of its own.
    if (!is_written && error->length() == 0)
        *error = "the file could not be written in full";
    file.Close();
    return is_written && out.Finish(error);
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
    file->Section_End();
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
