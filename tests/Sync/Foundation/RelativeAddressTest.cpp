#include <gtest/gtest.h>

#include "Sync/Foundation/RelativeAddress.h"

namespace kt {
namespace {

using testing::TestWithParam;
using testing::Values;

struct Row {
    const char* reference;
    const char* address;
};

/// The examples of RFC 3986, 5.4, which share one base.
class RelativeAddressExample : public TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Normal, RelativeAddressExample,
    Values(Row{"g:h", "g:h"}, Row{"g", "http://a/b/c/g"}, Row{"./g", "http://a/b/c/g"},
           Row{"g/", "http://a/b/c/g/"}, Row{"/g", "http://a/g"}, Row{"//g", "http://g"},
           Row{"?y", "http://a/b/c/d;p?y"}, Row{"g?y", "http://a/b/c/g?y"},
           Row{"#s", "http://a/b/c/d;p?q#s"}, Row{"g#s", "http://a/b/c/g#s"},
           Row{"g?y#s", "http://a/b/c/g?y#s"}, Row{";x", "http://a/b/c/;x"},
           Row{"g;x", "http://a/b/c/g;x"}, Row{"g;x?y#s", "http://a/b/c/g;x?y#s"},
           Row{"", "http://a/b/c/d;p?q"}, Row{".", "http://a/b/c/"}, Row{"./", "http://a/b/c/"},
           Row{"..", "http://a/b/"}, Row{"../", "http://a/b/"}, Row{"../g", "http://a/b/g"},
           Row{"../..", "http://a/"}, Row{"../../", "http://a/"}, Row{"../../g", "http://a/g"}));

INSTANTIATE_TEST_SUITE_P(
    Abnormal, RelativeAddressExample,
    Values(Row{"../../../g", "http://a/g"}, Row{"../../../../g", "http://a/g"},
           Row{"/./g", "http://a/g"}, Row{"/../g", "http://a/g"}, Row{"g.", "http://a/b/c/g."},
           Row{".g", "http://a/b/c/.g"}, Row{"g..", "http://a/b/c/g.."},
           Row{"..g", "http://a/b/c/..g"}, Row{"./../g", "http://a/b/g"},
           Row{"./g/.", "http://a/b/c/g/"}, Row{"g/./h", "http://a/b/c/g/h"},
           Row{"g/../h", "http://a/b/c/h"}, Row{"g;x=1/./y", "http://a/b/c/g;x=1/y"},
           Row{"g;x=1/../y", "http://a/b/c/y"}, Row{"g?y/./x", "http://a/b/c/g?y/./x"},
           Row{"g?y/../x", "http://a/b/c/g?y/../x"}, Row{"g#s/./x", "http://a/b/c/g#s/./x"},
           Row{"g#s/../x", "http://a/b/c/g#s/../x"}, Row{"http:g", "http:g"}));

TEST_P(RelativeAddressExample, IsResolved)
{
    EXPECT_EQ(resolvedAddress("http://a/b/c/d;p?q", GetParam().reference), GetParam().address);
}

struct BaseRow {
    const char* base;
    const char* reference;
    const char* address;
};
class RelativeAddressBase : public TestWithParam<BaseRow> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, RelativeAddressBase,
    Values(BaseRow{"http://host", "k.ics", "http://host/k.ics"},
           BaseRow{"http://host", "../k.ics", "http://host/k.ics"},
           BaseRow{"http://host?q", "k.ics", "http://host/k.ics"},
           BaseRow{"http://host/a?b/c", "k.ics", "http://host/k.ics"},
           BaseRow{"http://host/a#b/c", "", "http://host/a"},
           BaseRow{"webcal://me@host:8080/dir/", "//other/x", "webcal://other/x"},
           BaseRow{"file:///a/b", "c", "file:///a/c"}, BaseRow{"a:b", "c", "a:c"},
           BaseRow{"a:b/c", "d", "a:b/d"}, BaseRow{"a:b/c", "../../d", "a:/d"},
           BaseRow{"a:b/c/d", "../..", "a:/"},
           // Without a scheme the base is no help.
           BaseRow{"", "../k.ics", "../k.ics"}, BaseRow{"dir/a", "k.ics", "k.ics"},
           BaseRow{"1a:b", "c", "c"}, BaseRow{":b", "c", "c"}));

TEST_P(RelativeAddressBase, IsTakenAsItsPartsTell)
{
    EXPECT_EQ(resolvedAddress(GetParam().base, GetParam().reference), GetParam().address);
}

}  // namespace
}  // namespace kt
