#include "tarnovelle/storage/CTarnovelleSampleArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "tarnovelle/storage/CTarnovelleSample.h"

namespace {

bool g_watching = false;
std::vector<const void*> g_freed;

}  // namespace

// Array allocation of this program, so that frees can be watched.
void* operator new[](std::size_t size) {
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}
void operator delete[](void* p) noexcept {
    if (g_watching && p != nullptr)
        g_freed.push_back(p);
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept { operator delete[](p); }

namespace {

// Each sample holds one float, its id, so that entries can be told apart.

CTarnovelleSample* NewSample(float id) {
    return new CTarnovelleSample(CTNUTCTimeStamp::CreateUTCTimeStamp2000(), CTNUTCTimeStamp::CreateUTCTimeStamp2000(),
                                 1, &id);
}

float IdOf(const CTarnovelleSample* sample) { return sample->GetFLOATArray()[0]; }

}  // namespace

TEST(CTarnovelleSampleArray, StartsEmpty) {
    CTarnovelleSampleArray array;
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.begin(), array.end());
}

TEST(CTarnovelleSampleArray, AddReturnsIndexAndAllowsNullEntries) {
    CTarnovelleSampleArray array;
    EXPECT_EQ(array.Add(NewSample(1)), 0);
    EXPECT_EQ(array.Add(nullptr), 1);
    EXPECT_EQ(array.Add(NewSample(3)), 2);
    ASSERT_EQ(array.GetSize(), 3);
    EXPECT_FLOAT_EQ(IdOf(array.GetAt(0)), 1.0f);
    EXPECT_EQ(array.GetAt(1), nullptr);
    EXPECT_FLOAT_EQ(IdOf(array[2]), 3.0f);
}

TEST(CTarnovelleSampleArray, GetAtOutsideTheArrayIsNull) {
    CTarnovelleSampleArray array;
    array.Add(NewSample(1));
    EXPECT_EQ(array.GetAt(-1), nullptr);
    EXPECT_EQ(array.GetAt(1), nullptr);
}

TEST(CTarnovelleSampleArray, RemoveAtGivesThePointerUpWithoutDeletingIt) {
    CTarnovelleSampleArray array;
    array.Add(NewSample(1));
    array.Add(NewSample(2));
    array.Add(NewSample(3));
    std::unique_ptr<CTarnovelleSample> taken(array.GetAt(1));
    array.RemoveAt(1);
    ASSERT_EQ(array.GetSize(), 2);
    EXPECT_FLOAT_EQ(IdOf(array[0]), 1.0f);
    EXPECT_FLOAT_EQ(IdOf(array[1]), 3.0f);
    // Still alive: it was not deleted by the array (ASan would catch a use after free).
    EXPECT_FLOAT_EQ(IdOf(taken.get()), 2.0f);
}

TEST(CTarnovelleSampleArray, RemoveAtWithCountClampsToTheEndAndIgnoresBadIndexes) {
    CTarnovelleSampleArray array;
    std::unique_ptr<CTarnovelleSample> a(NewSample(1)), b(NewSample(2)), c(NewSample(3));
    array.Add(a.get());
    array.Add(b.get());
    array.Add(c.get());
    array.RemoveAt(-1);
    array.RemoveAt(3);
    EXPECT_EQ(array.GetSize(), 3);
    array.RemoveAt(1, 10);
    ASSERT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array[0], a.get());
    array.RemoveAll();
}

TEST(CTarnovelleSampleArray, RemoveAllGivesEveryPointerUp) {
    std::unique_ptr<CTarnovelleSample> a(NewSample(1)), b(NewSample(2));
    {
        CTarnovelleSampleArray array;
        array.Add(a.get());
        array.Add(b.get());
        array.RemoveAll();
        EXPECT_EQ(array.GetSize(), 0);
    }
    // The array is gone and did not delete them.
    EXPECT_FLOAT_EQ(IdOf(a.get()), 1.0f);
    EXPECT_FLOAT_EQ(IdOf(b.get()), 2.0f);
}

TEST(CTarnovelleSampleArray, SetAtReplacesWithoutDeletingTheOldSample) {
    CTarnovelleSampleArray array;
    array.Add(NewSample(1));
    std::unique_ptr<CTarnovelleSample> old(array[0]);
    array.SetAt(0, NewSample(5));
    EXPECT_FLOAT_EQ(IdOf(array[0]), 5.0f);
    EXPECT_FLOAT_EQ(IdOf(old.get()), 1.0f);
    // Outside the array nothing happens.
    array.SetAt(1, nullptr);
    array.SetAt(-1, nullptr);
    EXPECT_EQ(array.GetSize(), 1);
}

TEST(CTarnovelleSampleArray, SubscriptAssignsThroughTheReference) {
    CTarnovelleSampleArray array;
    array.Add(nullptr);
    array[0] = NewSample(7);
    EXPECT_FLOAT_EQ(IdOf(array.GetAt(0)), 7.0f);
}

TEST(CTarnovelleSampleArray, InsertAtPutsBeforeTheIndexAndGrowsWithNullsBehindTheEnd) {
    CTarnovelleSampleArray array;
    array.Add(NewSample(1));
    array.Add(NewSample(3));
    array.InsertAt(1, NewSample(2));
    ASSERT_EQ(array.GetSize(), 3);
    EXPECT_FLOAT_EQ(IdOf(array[1]), 2.0f);
    EXPECT_FLOAT_EQ(IdOf(array[2]), 3.0f);
    array.InsertAt(5, NewSample(6));
    ASSERT_EQ(array.GetSize(), 6);
    EXPECT_EQ(array[3], nullptr);
    EXPECT_EQ(array[4], nullptr);
    EXPECT_FLOAT_EQ(IdOf(array[5]), 6.0f);
    array.InsertAt(0, nullptr, 2);
    EXPECT_EQ(array.GetSize(), 8);
    EXPECT_EQ(array[0], nullptr);
    EXPECT_EQ(array[1], nullptr);
    array.InsertAt(-1, nullptr);
    EXPECT_EQ(array.GetSize(), 8);
}

TEST(CTarnovelleSampleArray, IteratesInOrder) {
    CTarnovelleSampleArray array;
    for (int i = 0; i < 4; ++i)
        array.Add(NewSample(static_cast<float>(i)));
    float expected = 0.0f;
    for (CTarnovelleSample* sample : array) {
        EXPECT_FLOAT_EQ(IdOf(sample), expected);
        expected += 1.0f;
    }
    const CTarnovelleSampleArray& constant = array;
    int count = 0;
    for (const CTarnovelleSample* sample : constant)
        count += sample != nullptr;
    EXPECT_EQ(count, 4);
}

TEST(CTarnovelleSampleArray, MoveHandsOwnershipOver) {
    CTarnovelleSampleArray source;
    source.Add(NewSample(1));
    CTarnovelleSampleArray target(std::move(source));
    EXPECT_EQ(source.GetSize(), 0);
    ASSERT_EQ(target.GetSize(), 1);
    CTarnovelleSampleArray other;
    other.Add(NewSample(2));
    other = std::move(target);
    ASSERT_EQ(other.GetSize(), 1);
    EXPECT_FLOAT_EQ(IdOf(other[0]), 1.0f);
}

// The destructor deletes every sample it still holds and passes over nulls.
// Deletion is watched through the array operator delete of this program: a
// sample frees its value array when it is deleted.
TEST(CTarnovelleSampleArray, DestructorDeletesEverySampleAndSkipsNulls) {
    std::vector<const void*> arrays;
    {
        CTarnovelleSampleArray array;
        for (int i = 0; i < 3; ++i) {
            array.Add(NewSample(static_cast<float>(i)));
            arrays.push_back(array[array.GetSize() - 1]->GetFLOATArray());
            array.Add(nullptr);
        }
        g_freed.clear();
        g_freed.reserve(64);
        g_watching = true;
    }
    g_watching = false;
    for (const void* values : arrays)
        EXPECT_NE(std::find(g_freed.begin(), g_freed.end(), values), g_freed.end());
}
