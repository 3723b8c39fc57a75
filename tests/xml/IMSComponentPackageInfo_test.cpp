#include "xml/IMSComponentPackageInfo.h"

#include "tests/xml/document_checks.h"

namespace {

using D = IMSComponentPackageInfo;

const TextFields<D> FIELDS = {{&D::package_info, "package-info"}};

TEST(AComponentPackage, IsWrittenAsOneElement)
{
    D d;
    EXPECT_EQ(d.package_info, "");
    d.package_info = "presence-agent-2";
    expect_encoding(d, "<module-info>\n  <package-info>presence-agent-2</package-info>\n</module-info>\n",
                    "Buff size = %d ptr: %p");
}

TEST(AComponentPackage, WithoutANameIsAnEmptyElement)
{
    D d;
    expect_encoding(d, "<module-info>\n  <package-info/>\n</module-info>\n", "Buff size = %d ptr: %p");
}

TEST(AComponentPackage, IsReadFromItsElement)
{
    expect_each_element_fills_its_field(FIELDS);
    expect_first_of_each_name_counts(FIELDS);
    expect_nothing_is_found_in_a_namespace(FIELDS);
    expect_lookups_in_order<D>({"//package-info"});
    expect_refusals(FIELDS);
}

TEST(AComponentPackage, ReadBackIsTheSame)
{
    D d;
    d.package_info = "presence";
    ASSERT_EQ(d.encodeXml(), 0);
    d.package_info = "other";
    ASSERT_EQ(d.parseXml(), 0);
    EXPECT_EQ(d.package_info, "presence");
}

} // namespace
