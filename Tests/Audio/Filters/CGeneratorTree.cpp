// SPDX-License-Identifier: GPL-3.0-or-later
#include "CGeneratorTree.h"

namespace kor::test
{

namespace
{

std::string flag(const nlohmann::json& in, const char* name)
{
    return in.value(name, false) ? "true" : "false";
}

}

CAudioFilterGen& CGeneratorTree::fromCase(const nlohmann::json& in)
{
    const std::string kind = in.at("gen");
    if (kind == "rbj")
        return need("audio:fltgen-rbj", {{"type", in.at("type").dump()},
                                         {"is-q", flag(in, "is_q")},
                                         {"is-type2", flag(in, "is_type2")},
                                         {"is-inverted", flag(in, "is_inverted")}});
    if (kind == "magnus")
        return need("audio:fltgen-magnus", {{"type", in.at("type").dump()}});
    if (kind == "lphp1")
        return need("audio:fltgen-lphp1", {{"type", in.at("type").dump()}});
    if (kind != "serial")
    {
        ADD_FAILURE() << "Unknown generator " << kind;
        return need("audio:fltgen-bypass", {});
    }
    // Paths are looked up while an object starts, so the parts stand beside the cascade, and its items follow it.
    std::vector<std::pair<std::string, std::string>> parts;
    for (const nlohmann::json& item : in.at("items"))
    {
        std::string adjust;
        for (const nlohmann::json& factor : item.at("adjust"))
            adjust += (adjust.empty() ? "" : ",") + factor.dump();
        parts.emplace_back(fromCase(item.at("of")).fullName().toUtf8(), adjust);
    }
    CAudioFilterGen& serial = need("audio:fltgen-serial", {});
    for (const auto& [path, adjust] : parts)
        need<CObject>("audio:fltgen-serial-item", {{"fltgen", "/" + path}, {"adjust", adjust}}, &serial);
    EXPECT_TRUE(succeeded(serial.initChilds()));
    return serial;
}

}
