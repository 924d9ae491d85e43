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
    const size_t slotCount = std::bit_ceil(size_t(count) + size_t(count) / 4);
    if (slotCount <= m_slots.size())
        return;
    const std::vector<Slot> oldSlots = std::exchange(m_slots, std::vector<Slot>(slotCount));
    for (const Slot &slot : oldSlots) {
        if (slot.units == nullptr)
            continue;
        size_t position = slot.hash & (slotCount - 1);
        while (m_slots[position].units != nullptr)
            position = (position + 1) & (slotCount - 1);
        m_slots[position] = slot;
    }
}

void s3TextIndex::insert(QByteArrayView units, qint32 number)
{
    constexpr size_t smallestSize = 32;
    if ((m_count + 1) * 5 > m_slots.size() * 4)
        reserve(qsizetype(std::max(m_slots.size(), smallestSize)));
    const qsizetype length = units.size() / qsizetype(sizeof(char16_t));
    const char16_t *text = copy(units, length);
    const quint32 hash = hashOf(QStringView(text, length));
    Slot &slot = m_slots[findSlot(QStringView(text, length), hash)];
    if (slot.units != nullptr) {
        slot.number = number;
        return;
    }
    slot = {hash, number, text, length};
    ++m_count;
    m_nextUnit += length;
    m_unitsLeft -= length;
}

qint32 s3TextIndex::number(QStringView text) const
{
    if (m_slots.empty())
        return 0;
    return m_slots[findSlot(text, hashOf(text))].number;
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
    for (; m_slots[position].units != nullptr; position = (position + 1) & mask) {
        const Slot &slot = m_slots[position];
        if (slot.hash == hash && slot.length == text.size()
            && std::memcmp(slot.units, text.utf16(), size_t(slot.length) * sizeof(char16_t)) == 0)
            break;
    }
    return position;
}
