// SPDX-License-Identifier: Apache-2.0
//
// Exceptions: what they keep, how they print and are copied; null references.
#include "blocxx/Exception.hpp"

#include <gmock/gmock.h>

#include <cerrno>
#include <memory>

#include "blocxx/IntrusiveReference.hpp"

namespace {

BLOCXX_DECLARE_EXCEPTION(Outer)
BLOCXX_DECLARE_EXCEPTION2(Inner, OuterException)

using blocxx::Exception;
using blocxx::toString;

TEST(Exception, KeepsCopiesOfItsTexts) {
    std::string message = "message";
    std::string file = "file.cpp";
    const Exception e(file.c_str(), 12, message.c_str(), 5, nullptr, 3);
    message.assign("xxxxxxx");
    file.assign("xxxxxxxx");
    EXPECT_STREQ(e.getMessage(), "message");
    EXPECT_STREQ(e.what(), "message");
    EXPECT_STREQ(e.getFile(), "file.cpp");
    EXPECT_EQ(e.getLine(), 12);
    EXPECT_EQ(e.getErrorCode(), 5);
    EXPECT_EQ(e.getSubClassId(), 3);
    EXPECT_EQ(e.getOtherException(), nullptr);
}

TEST(Exception, PrintsWhatItKnows) {
    const InnerException inner("b.cpp", 2, "inner", 7);
    EXPECT_EQ(toString(OuterException("a.cpp", 1, "outer", 6, &inner)),
              "a.cpp: 1 OuterException: 6: outer <b.cpp: 2 InnerException: 7: inner>");
    EXPECT_EQ(toString(OuterException("a.cpp", 1, "outer")), "a.cpp: 1 OuterException: outer");
    EXPECT_EQ(toString(OuterException("", 0, "outer")), "OuterException: outer");
    EXPECT_EQ(toString(OuterException(nullptr, 0, nullptr, 0)), "OuterException: 0: ");
    EXPECT_EQ(toString(Exception("", 0, "plain")), "Exception: plain");
}

TEST(Exception, WrapsACopyThatOutlivesTheOriginal) {
    std::unique_ptr<OuterException> outer;
    {
        const InnerException inner("b.cpp", 2, "inner", 7);
        outer = std::make_unique<OuterException>("a.cpp", 1, "outer", 6, &inner);
    }
    const std::unique_ptr<Exception> copy(outer->clone());
    outer.reset();
    ASSERT_NE(copy->getOtherException(), nullptr);
    EXPECT_NE(dynamic_cast<const InnerException*>(copy->getOtherException()), nullptr);
    EXPECT_STREQ(copy->getOtherException()->getMessage(), "inner");
}

TEST(Exception, ClonesAndRethrowsItsOwnKind) {
    const InnerException inner("b.cpp", 2, "inner", 7);
    const Exception& seen = inner;
    const std::unique_ptr<Exception> copy(seen.clone());
    EXPECT_STREQ(copy->type(), "InnerException");
    EXPECT_THROW(seen.rethrow(), InnerException);
    EXPECT_THROW(seen.rethrow(), OuterException);
}

TEST(Exception, FormatsErrnoWithTheSystemsText) {
    EXPECT_EQ(blocxx::ExceptionDetail::FormatMsg("getrlimit failed", ENOENT),
              "getrlimit failed: 2(No such file or directory)");
}

TEST(Exception, ThrowsErrnoAsItsCode) {
    try {
        errno = EACCES;
        BLOCXX_THROW_ERRNO(OuterException, "opening");
    } catch (const OuterException& e) {
        EXPECT_EQ(e.getErrorCode(), EACCES);
        EXPECT_STREQ(e.getMessage(), "opening: 13(Permission denied)");
        EXPECT_GT(e.getLine(), 0);
    }
}

struct Counted : blocxx::IntrusiveCountableBase {
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }
    int& m_alive;
};
struct Special : Counted {
    using Counted::Counted;
};

TEST(IntrusiveReference, RefusesToFollowNull) {
    const blocxx::IntrusiveReference<Counted> null;
    EXPECT_FALSE(null);
    EXPECT_THROW(static_cast<void>(null->m_alive), blocxx::NULLReferenceException);
    EXPECT_THROW(static_cast<void>(*null), blocxx::NULLReferenceException);
}

TEST(IntrusiveReference, SharesOneObjectAmongItsCopiesAndCasts) {
    int alive = 0;
    {
        const blocxx::IntrusiveReference<Counted> base(new Special(alive));
        const auto special = base.castTo<Special>();
        const auto plain = blocxx::IntrusiveReference<Counted>(new Counted(alive));
        EXPECT_EQ(alive, 2);
        EXPECT_EQ(special.get(), base.get());
        EXPECT_FALSE(plain.castTo<Special>());
        EXPECT_FALSE(plain == base);
    }
    EXPECT_EQ(alive, 0);
}

}  // namespace
