#include "s3textindex.h"

#include <QHashFunctions>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace
{

// Seeded anew for each process, so that no file can be made whose texts all fall together.
quint32 hashOf(QStringView text)
{
    return quint32(qHash(text, QHashSeed::globalSeed()));
}

} // namespace

void s3TextIndex::reserve(qsizetype count)
{
    const size_t slotCount = std::bit_ceil(size_t(count) * 2);
    if (slotCount <= m_slots.size())
        return;
    m_entries.reserve(size_t(count));
    const std::vector<Slot> oldSlots = std::exchange(m_slots, std::vector<Slot>(slotCount));
    for (const Slot &slot : oldSlots) {
        if (slot.entry == 0)
            continue;
        size_t position = slot.hash & (slotCount - 1);
        while (m_slots[position].entry != 0)
            position = (position + 1) & (slotCount - 1);
        m_slots[position] = slot;
    }
}

void s3TextIndex::insert(QByteArrayView units, qint32 number)
{
    constexpr size_t smallestSize = 32;
    if ((m_entries.size() + 1) * 2 > m_slots.size())
        reserve(qsizetype(std::max(m_slots.size(), smallestSize)));
    const qsizetype length = units.size() / qsizetype(sizeof(char16_t));
    const char16_t *text = copy(units, length);
    const quint32 hash = hashOf(QStringView(text, length));
    Slot &slot = m_slots[findSlot(QStringView(text, length), hash)];
    if (slot.entry != 0) {
        m_entries[slot.entry - 1].number = number;
        return;
    }
    m_entries.push_back({text, length, number});
    slot = {hash, quint32(m_entries.size())};
    m_nextUnit += length;
    m_unitsLeft -= length;
}

qint32 s3TextIndex::number(QStringView text) const
{
    if (m_slots.empty())
        return 0;
    const quint32 entry = m_slots[findSlot(text, hashOf(text))].entry;
    return entry == 0 ? 0 : m_entries[entry - 1].number;
}

const char16_t *s3TextIndex::copy(QByteArrayView units, qsizetype length)
{
    constexpr qsizetype blockSize = 1 << 16;
    if (length > m_unitsLeft) {
        m_unitsLeft = std::max(length, blockSize);
        m_blocks.push_back(std::make_unique_for_overwrite<char16_t[]>(size_t(m_unitsLeft)));
        m_nextUnit = m_blocks.back().get();
    }
    std::memcpy(m_nextUnit, units.data(), size_t(length) * sizeof(char16_t));
    return m_nextUnit;
}

size_t s3TextIndex::findSlot(QStringView text, quint32 hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t position = hash & mask;
    for (; m_slots[position].entry != 0; position = (position + 1) & mask) {
        if (m_slots[position].hash != hash)
            continue;
        const Entry &entry = m_entries[m_slots[position].entry - 1];
        if (entry.length == text.size()
            && std::memcmp(entry.units, text.utf16(), size_t(entry.length) * sizeof(char16_t)) == 0)
            break;
    }
    return position;
}
