#ifndef ZEPH_EXTENSIONS_CONFIG_NEARESTNAME_H
#define ZEPH_EXTENSIONS_CONFIG_NEARESTNAME_H

// Finds, among names offered one by one, the one that a misspelt word was meant to be.
class NearestName {
public:
    explicit NearestName(const char* word);

    void Offer(const char* name);
    // Null if no name came near. One of those offered.
    const char* nearest() const { return m_nearest; }

private:
    enum {
        kLongestWord = 40
    };

    int Distance(const char* name) const;

    const char* m_word;
    int m_length;
    int m_distance;  // of the nearest, and at the start of one that is too far
    const char* m_nearest = nullptr;
};

#endif
