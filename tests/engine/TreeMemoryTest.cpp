#include "engine/TreeMemory.h"

#include <QTest>

#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

using namespace kopertal;

class TreeMemoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void piecesKeepWhatTheyHold() {
        struct Piece {
            unsigned char* memory;
            std::size_t size;
            unsigned char mark;
        };
        std::vector<Piece> pieces;
        unsigned char mark = 0;
        // Small ones over several blocks; such as fill a block, exceed it by one, take several.
        for (int round = 0; round < 60; ++round) {
            for (const std::size_t size :
                 {1UL, 32'768UL, 100'001UL, 2'097'152UL - 64, 2'097'153UL, 9'000'000UL}) {
                if (size > 200'000 && round % 20 != 0)
                    continue;
                auto* const memory = static_cast<unsigned char*>(allocateTreeMemory(size));
                QCOMPARE(reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t), 0U);
                std::memset(memory, ++mark, size);
                pieces.push_back({memory, size, mark});
            }
        }
        // Every other one goes first, so that blocks end in an order unlike that of their start.
        for (const std::size_t parity : {0U, 1U}) {
            for (std::size_t i = parity; i < pieces.size(); i += 2) {
                const Piece& piece = pieces[i];
                QCOMPARE(piece.memory[0], piece.mark);
                QCOMPARE(piece.memory[piece.size - 1], piece.mark);
                releaseTreeMemory(piece.memory);
            }
        }
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, allocateTreeMemory(SIZE_MAX));
    }
};

QTEST_GUILESS_MAIN(TreeMemoryTest)
#include "TreeMemoryTest.moc"
