// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CApplicationData.h"
#include "Core/COwnedBridge.h"

namespace kor
{

// Tells its owner when a data file of a store has been written, by whichever instance of the process. The argument of
// the owner's method is the file's name. The method may read the store.
template <class T>
class CApplicationDataBridge : public COwnedBridge<T>
{
public:
    using COwnedBridge<T>::COwnedBridge;
    ~CApplicationDataBridge() override { this->detach(); }

    bool attach(CApplicationData& store, const CStringBuf& fileName) { return CBridge::attach(&store, fileName); }
};

}
