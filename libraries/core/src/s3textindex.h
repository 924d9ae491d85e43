#pragma once

#include <QByteArrayView>
#include <QStringView>

#include <memory>
#include <vector>

// A hash from text to number that keeps the texts, made for being filled once with many: they stand one
// behind the other in few blocks, and a lookup jumps to one slot and one text.
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
    // `units` is null for a slot that is free.
    struct Slot {
        quint32 hash;
        qint32 number;
        const char16_t *units;
        qsizetype length;
    };

    // A copy of the units at an aligned address, for which the caller then takes `length` from the block.
    [[nodiscard]] const char16_t *copy(QByteArrayView units, qsizetype length);

    // The slot of a text, or the free one where it would stand; there must be slots.
    [[nodiscard]] size_t findSlot(QStringView text, quint32 hash) const;

    // A power of two; at least a fifth of them is free. More would be slower to fill than to look through.
    std::vector<Slot> m_slots;
    size_t m_count = 0;
    std::vector<std::unique_ptr<char16_t[]>> m_blocks;
    // What is left of the last block.
    char16_t *m_nextUnit = nullptr;
    qsizetype m_unitsLeft = 0;
};
