// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Graph/CAudioProcessBase.h"

#include <array>

namespace kor
{

// Leads the host's channels to the internal ones, and at the graph's other end back. The parameter `routing` has a
// number per element: r means channel r - 1, 0 none. At the input, element e says where incoming channel e goes, and
// several that go to one channel are averaged; at the output, element e says where outgoing channel e comes from.
// `grouping` gives each produced channel its group. A channel with one source passes its buffer on without a copy.
class CModRouter : public CAudioProcessBase
{
public:
    /// Channels that a router produces at most, and the highest number that an entry of `routing` may have.
    static constexpr int maxChannels = 8;

    CError init() override;
    void update() override;
    void process() override;

protected:
    void describeOutputs() override;

private:
    struct CRoute
    {
        int channel = 0;
        int group = 0;
        std::array<std::size_t, maxPortChannels> sources{}; // in the channels of port 0
        std::size_t sourceCount = 0;
    };

    int targetOf(int element) const noexcept;
    int groupOf(int channel) const noexcept;
    CAudioBufferRef meanOf(const CRoute& route);

    const CAudioParamSlot* routing = nullptr;
    const CAudioParamSlot* grouping = nullptr;
    CArray<CRoute> routes; // produced channels in rising number
    CArray<std::size_t> plainRoutes; // those with one source, and those with several
    CArray<std::size_t> mixedRoutes;
};

}
