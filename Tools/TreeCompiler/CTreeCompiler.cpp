// SPDX-License-Identifier: GPL-3.0-or-later
#include "TreeCompiler/CTreeCompiler.h"

#include "TreeCompiler/CTreeExpander.h"
#include "TreeCompiler/CTreeWriter.h"

namespace kor
{

CMistake compileTree(const std::string& sourcePath, const std::string& typesPath, CCompiledTree& result)
{
    result.files.assign(1, typesPath);
    CTypeList types;
    if (CMistake m = types.read(typesPath))
        return m;

    CSourceReader reader;
    CSourceNode source;
    CMistake mistake = reader.read(sourcePath, source);
    result.files.insert(result.files.end(), reader.files().begin(), reader.files().end());
    if (mistake)
        return mistake;

    CTreeNode root;
    if (CMistake m = CTreeExpander(types).expand(source, root))
        return m;
    return CTreeWriter().write(root, result.bytes);
}

}
