#ifndef ZEPH_FILES_HELDTEXT_H
#define ZEPH_FILES_HELDTEXT_H

// Owns a text from new[]; null is none.
class HeldText {
public:
    explicit HeldText(char* text = nullptr) : m_text(text) {}
    ~HeldText() { delete[] m_text; }

    HeldText(const HeldText&) = delete;
    HeldText& operator=(const HeldText&) = delete;

    char* get() const { return m_text; }

    char* release()
    {
        char* text = m_text;
        m_text = nullptr;
        return text;
    }

    void reset(char* text = nullptr)
    {
        delete[] m_text;
        m_text = text;
    }

private:
    char* m_text;
};

#endif
