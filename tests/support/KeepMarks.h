#pragma once

#include "platform/KeepStore.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace corvane::test {

// Keep marks in the fake home's store for the length of one test. Every test of a process shares
// the fake home, so the marks go again when the test ends, whatever it asserted.
class ScopedKeepMarks {
public:
    explicit ScopedKeepMarks(QStringList paths)
        : paths_(std::move(paths)) {
        for (const QString& path : std::as_const(paths_))
            EXPECT_EQ(store_.add(path), QString()) << qPrintable(path);
    }
    ~ScopedKeepMarks() {
        for (const QString& path : std::as_const(paths_))
            store_.remove(path);
    }
    ScopedKeepMarks(const ScopedKeepMarks&) = delete;
    ScopedKeepMarks& operator=(const ScopedKeepMarks&) = delete;

private:
    KeepStore store_;
    QStringList paths_;
};

} // namespace corvane::test
