// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Audio/Parameters/CAudioParam.h"
#include "Audio/Parameters/CAudioParamCollector.h"
#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Other/Interface/CAudioInterfaceBase.h"
#include "Other/Interface/CAudioInterfaceClient.h"
#include "Other/Interface/CInterfaceClientTree.h"
#include "Support/CTestTree.h"

#include <string>
#include <vector>

namespace kor::test
{

/// The product's shared tree for as long as it lives, for tests that are not alone in their program.
class CProductTree
{
public:
    CProductTree();
    ~CProductTree();
    CProductTree(const CProductTree&) = delete;
    CProductTree& operator=(const CProductTree&) = delete;
};

/// A parameter's copy that notes what came: "info" and "g:first+count" or "g:first+count|" with the list cut behind it.
class CNotingCopy : public CParamCopy
{
public:
    void onParamInfo(const CAudioParamInfo& info, const CAudioParamRequest* defaults) override;
    void onParamChange(const CAudioParamRequest& change) override;

    /// What has come since the last call.
    std::string take() { return std::exchange(notes, {}); }

private:
    std::string notes;
};

/// A follower of a registry that keeps what it was last told.
class CNotingRegistry : public CRegistryClientListener
{
public:
    void onRegistryNames(CAudioPresetSource source, const CStringBuf& registryId, int current,
                         const CArray<CStringBuf>& names) override;
    void onRegistryPreset(std::uint32_t requestId, CAudioPreset preset) override;
    void onRegistryBank(std::uint32_t requestId, CAudioPresetBank bank) override;

    std::string id;
    int program = -1;
    CArray<CStringBuf> session;
    CArray<CStringBuf> factory;
    std::vector<std::uint32_t> answers;
    CAudioPreset lastPreset;
    CAudioPresetBank lastBank;
};

/// A client of an instance and what it follows. It belongs to the thread that makes it.
class CTestClient
{
public:
    explicit CTestClient(CAudioInstance& instance);

    CAudioInterfaceClient& operator*() const { return tree.client(); }
    CAudioInterfaceClient* operator->() const { return &tree.client(); }

    /// Follows the parameter of a full name or one below the main process.
    std::uint32_t listen(CNotingCopy& copy, const std::string& name);

    CInterfaceClientTree tree;
};

/// An instance and a client of it.
class CInterfaceFixture
{
public:
    CInterfaceFixture();

    CAudioParam& param(const std::string& key) const;

    /// Runs a message as if a client had sent it; its failure's first line.
    std::string process(const CByteArray& block) const;

    CProductTree product;
    CAudioInstance instance;
    CTestClient client;

private:
    CParamInterfaceBaseConnector* connector = nullptr;
};

/// Gives the clients of this thread what waits for them.
void dispatch();

/// A change of one number, of one text; the latter keeps its table alive.
CAudioParamRequest changeOf(int group, int element, const double& value);
struct CTextChange
{
    CTextChange(int group, int element, const CStringBuf& text);
    CAudioParamRequest request;
    CAudioParamData items;
    double id;
};

/// Where the copy and the parameter differ; empty when nowhere.
std::string difference(const CParamCopy& copy, const CAudioParam& param);

/// All that a command may change: the values of all parameters, their defaults, programs and history.
std::string stateOf(CAudioInstance& instance);

}
