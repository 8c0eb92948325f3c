#include "platform/linux/XkbLayouts.h"

#include <gtest/gtest.h>

namespace tarnvik::linux {
namespace {

// The shape of the rules' registry (evdev.xml): models, then layouts with their variants.
constexpr const char *registry = R"(<?xml version="1.0" encoding="UTF-8"?>
<xkbConfigRegistry version="1.1">
  <modelList>
    <model><configItem><name>pc105</name><description>Generic 105-key PC</description></configItem></model>
  </modelList>
  <layoutList>
    <layout>
      <configItem><name>us</name><shortDescription>en</shortDescription>
        <description>English (US)</description></configItem>
      <variantList>
        <variant><configItem><name>intl</name>
          <description>English (US, intl., with dead keys)</description></configItem></variant>
      </variantList>
    </layout>
    <layout>
      <configItem><name>ru</name><description>Russian</description></configItem>
    </layout>
  </layoutList>
</xkbConfigRegistry>)";

TEST(XkbRegistry, LayoutsAndVariantsAreNamedAsTheRegistryNamesThem)
{
    const XkbRegistry names(registry);
    EXPECT_EQ(names.nameOf("us", ""), "English (US)");
    EXPECT_EQ(names.nameOf("us", "intl"), "English (US, intl., with dead keys)");
    EXPECT_EQ(names.nameOf("ru", ""), "Russian") << "after a layout's variants, the next layout";
    EXPECT_EQ(names.nameOf("de", "nodeadkeys"), "de(nodeadkeys)") << "unnamed: the id";
    EXPECT_EQ(XkbRegistry("").nameOf("us", ""), "us");
}

} // namespace
} // namespace tarnvik::linux
