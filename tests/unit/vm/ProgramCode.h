#ifndef ZEPH_TESTS_UNIT_VM_PROGRAMCODE_H
#define ZEPH_TESTS_UNIT_VM_PROGRAMCODE_H

#include <vector>

#include "TestMachine.h"

// Code with jumps to labels, which may stand anywhere in it.
class ProgramCode {
public:
    int NewLabel()
    {
        m_labels.push_back(-1);
        return int(m_labels.size()) - 1;
    }
    void Place(int label) { m_labels[size_t(label)] = int(m_bytes.size()); }
    void Add(const std::string& instructions) { m_bytes += instructions; }
    // To some bytes behind a label.
    void Jump(int word, int label, int behind = 0)
    {
        m_bytes += Op(word, 0);
        m_jumps.push_back({int(m_bytes.size()), label, behind});
    }
    int Offset(int label) const { return m_labels[size_t(label)]; }
    // With the distances of the jumps.
    std::string Bytes() const
    {
        std::string bytes = m_bytes;
        for (const PlacedJump& jump : m_jumps) {
            std::string distance = Integer(Offset(jump.label) + jump.behind - jump.next);
            bytes.replace(size_t(jump.next) - distance.size(), distance.size(), distance);
        }
        return bytes;
    }

private:
    struct PlacedJump {
        int next;  // offset behind it
        int label;
        int behind;
    };

    std::string m_bytes;
    std::vector<int> m_labels;
    std::vector<PlacedJump> m_jumps;
};

#endif
