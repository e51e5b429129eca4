#include "zephdump/ImageDump.h"

#include "image/LocalizedDictionary.h"

ImageDump::ImageDump(LoadedImage* image, TextBuffer* out)
    : m_image(image),
      m_out(out),
      m_texts(image->dictionary()),
      m_system(image->dictionary(), image->system()),
      m_global(image->dictionary(), image->global()),
      m_languages(image->dictionary(), image->languages()),
      m_functions(image->dictionary(), image->functions())
{
    for (int i = 0; i < image->dictionary()->Entries(); ++i)
        m_texts.Add(i);
}

ImageDump::~ImageDump()
{
    delete m_locals;
}

void ImageDump::Write()
{
    WriteHeader();
    WriteTexts();
    WriteScope(".system", m_image->system());
    WriteScope(".global", m_image->global());
    WriteLanguages();
    WriteSegments();
}

void ImageDump::WriteHeader()
{
    m_out->Format(".version 0x%X\n", m_image->version());
    int flags = m_image->dictionary()->flags();
    if (flags == Dictionary::kNoTrace)
        m_out->Add(".flags notrace\n");
    else if (flags != 0)
        m_out->Format(".flags 0x%X\n", unsigned(flags));
    m_out->Add(".identifier ");
    for (int i = 0; i < LoadedImage::kIdentifierSize; ++i)
        m_out->Format("%02x", m_image->identifier()[i]);
    m_out->Add("\n");
    WriteBuckets("system", m_image->system());
    WriteBuckets("global", m_image->global());
    WriteBuckets("functions", m_image->functions());
    WriteBuckets("languages", m_image->languages());
}

void ImageDump::WriteBuckets(const char* name, const TableRecords& table)
{
    m_out->Format(".buckets %s %d\n", name, table.bits);
}

void ImageDump::WriteTexts()
{
    for (int i = 0; i < m_image->dictionary()->Entries(); ++i) {
        int length;
        const char* text = m_image->dictionary()->Entry(i, &length);
        m_out->Add(".text ");
        m_out->AddQuoted(text, length);
        m_out->Format("  ; #%d\n", i);
    }
}

void ImageDump::WriteScope(const char* directive, const TableRecords& table)
{
    for (int i = 0; i < table.slots.count(); ++i) {
        m_out->Format("%s ", directive);
        AddEntryName(table.slots[i].name);
        m_out->Format("  ; #%d\n", i);
    }
}

// A text stands for the first entry that is equal to it; any other, and one that does
// not exist, is told by its index.
void ImageDump::AddEntryText(int index)
{
    int length;
    const char* text = m_image->dictionary()->Entry(index, &length);
    if (text && m_texts.Find(text, length) == index)
        m_out->AddQuoted(text, length);
    else
        m_out->Format("#%d", index);
}

void ImageDump::AddEntryName(int index)
{
    int length;
    const char* text = m_image->dictionary()->Entry(index, &length);
    if (text && m_texts.Find(text, length) == index)
        m_out->AddName(text, length);
    else
        m_out->Format("#%d", index);
}

void ImageDump::WriteLanguages()
{
    const TableRecords& languages = m_image->languages();
    m_written.Fill(languages.slots.count(), 0);
    for (int i = 0; i < languages.slots.count(); ++i) {
        m_out->Add(".language ");
        AddEntryText(languages.slots[i].name);
        m_out->Format("  ; #%d\n", i);
    }
    WriteLocalizedTexts();
    for (int i = 0; i < languages.slots.count(); ++i)
        if (m_image->index(i))
            WriteRawEntries(i, m_image->index(i)->slots.count());
}

// In the order of the pieces, since each text makes its pieces anew. Pieces that no
// text starts with, or that are not one behind the other, are written by themselves.
void ImageDump::WriteLocalizedTexts()
{
    const Array<PieceRecord>& pieces = m_image->pieces();
    struct Owner {
        int language;
        int entry;
    };
    Array<Owner> owners;
    owners.Fill(pieces.count(), {-1, -1});
    for (int i = m_image->languages().slots.count() - 1; i >= 0; --i) {
        const TableRecords* index = m_image->index(i);
        for (int k = index ? index->slots.count() - 1 : -1; k >= 0; --k) {
            int first = index->slots[k].first;
            if (first >= 0 && first < pieces.count())
                owners[first] = {i, k};
        }
    }
    for (int piece = 0; piece < pieces.count();) {
        const Owner& owner = owners[piece];
        if (owner.language >= 0 && owner.entry >= m_written[owner.language] && IsUnbroken(piece)) {
            piece = WriteUnbroken(owner.language, owner.entry);
        } else {
            WritePiece(pieces[piece]);
            ++piece;
        }
    }
}

// Whether a text can be written with its pieces: each is followed by the next one up to
// the last, and the first is not mistaken for the number of a piece.
bool ImageDump::IsUnbroken(int piece)
{
    const Array<PieceRecord>& pieces = m_image->pieces();
    int length;
    const char* text = m_image->dictionary()->Entry(pieces[piece].identifier, &length);
    if (pieces[piece].type == LocalizedDictionaryEntry::kText &&
        (!text || m_texts.Find(text, length) != pieces[piece].identifier))
        return false;
    while (pieces[piece].next == piece + 1 && piece + 1 < pieces.count())
        ++piece;
    return pieces[piece].next == -1;
}

// The texts of a language up to that entry, by the numbers of their pieces.
void ImageDump::WriteRawEntries(int language, int end)
{
    for (int& entry = m_written[language]; entry < end; ++entry) {
        StartLocalized(language, entry);
        int first = m_image->index(language)->slots[entry].first;
        if (first != -1)
            m_out->Format(" #%d", first);
        m_out->Add("\n");
    }
}

void ImageDump::StartLocalized(int language, int entry)
{
    m_out->Add(".localized ");
    AddEntryText(m_image->index(language)->slots[entry].name);
    m_out->Add(" ");
    int length;
    const char* name = m_languages.Name(language, &length);
    if (name)
        m_out->AddQuoted(name, length);
    else
        m_out->Format("#%d", language);
}

void ImageDump::AddPiece(const PieceRecord& piece)
{
    if (piece.type == LocalizedDictionaryEntry::kVariable) {
        m_out->Add("$");
        AddEntryName(piece.identifier);
    } else {
        AddEntryText(piece.identifier);
    }
}

// Gives the piece behind the text's last one.
int ImageDump::WriteUnbroken(int language, int entry)
{
    WriteRawEntries(language, entry);
    StartLocalized(language, entry);
    const Array<PieceRecord>& pieces = m_image->pieces();
    int piece = m_image->index(language)->slots[entry].first;
    for (;;) {
        m_out->Add(" ");
        AddPiece(pieces[piece]);
        if (pieces[piece].next == -1)
            break;
        ++piece;
    }
    m_out->Add("\n");
    ++m_written[language];
    return piece + 1;
}

void ImageDump::WritePiece(const PieceRecord& piece)
{
    m_out->Add(".piece ");
    AddPiece(piece);
    if (piece.next != -1)
        m_out->Format(" next %d", piece.next);
    m_out->Add("\n");
}
