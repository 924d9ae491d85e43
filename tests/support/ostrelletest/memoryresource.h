#pragma once

#include <QByteArray>
#include <QResource>
#include <QString>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <memory>

// Puts bytes under a resource path (":/dictionary/mng.dat.0") for the scope.
//
// The bytes stand uncompressed at the very end of one heap block, and a mapped resource points right at
// them, so that an address sanitizer sees a reader that goes past the end by a single byte; behind a
// mapped file the rest of the page would hide that.
class MemoryResource
{
public:
    MemoryResource(const QString &path, const QByteArray &content)
    {
        const QStringList names = path.mid(2).split(u'/');
        QByteArray nameTable;
        QByteArray tree;
        addDirectory(tree, 0, 1);
        for (qsizetype level = 0; level < names.size(); ++level) {
            const auto nameOffset = quint32(nameTable.size());
            if (level + 1 < names.size())
                addDirectory(tree, nameOffset, quint32(level) + 2);
            else
                addFile(tree, nameOffset);
            addName(nameTable, names[level]);
        }
        constexpr quint32 headSize = 20;
        const quint32 treeOffset = headSize;
        const quint32 nameOffset = treeOffset + quint32(tree.size());
        const quint32 dataOffset = nameOffset + quint32(nameTable.size());
        QByteArray block("qres");
        for (const quint32 field : {1U, treeOffset, dataOffset, nameOffset})
            add(block, field);
        block += tree + nameTable;
        add(block, quint32(content.size()));
        block += content;
        m_block = std::make_unique<uchar[]>(size_t(block.size()));
        std::copy(block.cbegin(), block.cend(), m_block.get());
        m_isRegistered = QResource::registerResource(m_block.get());
    }
    ~MemoryResource()
    {
        if (m_isRegistered)
            QResource::unregisterResource(m_block.get());
    }
    Q_DISABLE_COPY_MOVE(MemoryResource)

    [[nodiscard]] bool isRegistered() const { return m_isRegistered; }

private:
    template <class Number> static void add(QByteArray &bytes, Number number)
    {
        char field[sizeof(Number)];
        qToBigEndian(number, field);
        bytes.append(field, sizeof(Number));
    }

    static void addDirectory(QByteArray &tree, quint32 nameOffset, quint32 firstChild)
    {
        constexpr quint16 directoryFlag = 2;
        add(tree, nameOffset);
        add(tree, directoryFlag);
        add(tree, quint32(1));
        add(tree, firstChild);
    }

    // A file for any language and country, with its data at the beginning of the data table.
    static void addFile(QByteArray &tree, quint32 nameOffset)
    {
        add(tree, nameOffset);
        add(tree, quint16(0));
        add(tree, quint16(0));
        add(tree, quint16(1));
        add(tree, quint32(0));
    }

    static void addName(QByteArray &nameTable, const QString &name)
    {
        quint32 hash = 0;
        for (const QChar c : name) {
            hash = (hash << 4) + c.unicode();
            hash ^= (hash & 0xf0000000U) >> 23;
            hash &= 0x0fffffffU;
        }
        add(nameTable, quint16(name.size()));
        add(nameTable, hash);
        for (const QChar c : name)
            add(nameTable, quint16(c.unicode()));
    }

    std::unique_ptr<uchar[]> m_block;
    bool m_isRegistered = false;
};
