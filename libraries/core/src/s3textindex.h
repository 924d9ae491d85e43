#pragma once

#include <QByteArrayView>
#include <QStringView>

#include <memory>
#include <vector>

// A hash from text to number that keeps the texts, made for being filled once with many: they stand one
// behind the other in few blocks, and what an insertion jumps through is a table of eight bytes for each
// slot.
//
// Threads: one at a time while texts are inserted; lookups may run side by side.
class s3TextIndex
{
public:
    // Makes room for `count` texts in all.
    void reserve(qsizetype count);

    // Enters a copy of a text that is not empty. The code units may stand at any address. A text that is
    // in the index already gets the new number.
    void insert(QByteArrayView units, qint32 number);

    // The number of a text; 0 for one that is not in the index.
    [[nodiscard]] qint32 number(QStringView text) const;

private:
    struct Entry {
        const char16_t *units;
        qsizetype length;
        qint32 number;
    };
    // `entry` is the position in m_entries plus 1, and 0 for a slot that is free.
    struct Slot {
        quint32 hash;
        quint32 entry;
    };

    // A copy of the units at an aligned address, for which the caller then takes `length` from the block.
    [[nodiscard]] const char16_t *copy(QByteArrayView units, qsizetype length);

    // The slot of a text, or the free one where it would stand; there must be slots.
    [[nodiscard]] size_t findSlot(QStringView text, quint32 hash) const;

    std::vector<Entry> m_entries;
    // A power of two, and always twice as many as entries at the least.
    std::vector<Slot> m_slots;
    std::vector<std::unique_ptr<char16_t[]>> m_blocks;
    // What is left of the last block.
    char16_t *m_nextUnit = nullptr;
    qsizetype m_unitsLeft = 0;
};
