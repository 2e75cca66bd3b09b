// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CResourceTable.h"

/// The product's content, embedded by the build: compiled trees and data files under the names by which the program
/// asks for them. Ended by a null block. A program hands it to CApplication::initApplication.
extern const kor::CResourceEntry morvaResources[];
