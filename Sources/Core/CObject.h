// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAttrValue.h"
#include "Core/CError.h"
#include "Core/CObjectClassInfo.h"

#include <memory>
#include <span>
#include <thread>

namespace kor
{

class CNotifyServer;
class CObjectEventBridge;
class CTemplateBody;
class CTreeNodeReader;

// Node of every tree: type tag, name, string attributes, children. A creator table maps the tag to a class; the class
// reacts to attributes and events through per-class handler tables. Paths, attribute expansion, live links between
// attributes, templates, the staged start and events are all here; nothing here knows of audio or views.
// Tree structure, attributes and handlers belong to the thread that built the tree.
class CObject
{
public:
    CObject() noexcept;
    virtual ~CObject();
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    /// Registers what every type has: the event "release-child-bridged".
    static void initClass(CObjectClassInfo& info);

    // The staged start: init reads attributes, children exist from initAttrs on, initChilds ends it. Every override
    // calls its base class first.
    virtual CError init();
    virtual CError initAttrs();
    virtual CError initChilds();
    virtual CError onChildAdded(CObject& child);
    virtual void removeChild(CObject& child);
    virtual void onTreeHook() {}
    virtual void uninit();
    virtual void detachFromParent();
    virtual CError onSourceAttrChanged(CObject& source, const CStringBuf& attrName, CAttrValue& value);
    virtual CError releaseChildBridged(CAttrMap& params);

    // Identity.
    const CStringBuf& fullName() const noexcept { return fullNameText; }
    const CStringBuf& tag() const noexcept { return tagText; }
    CStringBuf name() const;                        // the attribute `name`
    CObject* parent() const noexcept { return parentObject; }
    CObject* root() const noexcept { return rootObject; }
    int objectId() const noexcept { return id; }
    int state() const noexcept { return startState; }
    bool isReadOnly() const noexcept { return readOnly; }
    const CObject* templateSource() const noexcept { return templateObject; }
    bool isTemplate() const noexcept { return templateBody != nullptr; }
    std::span<CObject* const> children() const noexcept { return childList; }
    const CAttrMap& attributes() const noexcept { return attrs; }

    // Tree. Paths: "a.b" from the root, ".a" own child, "^a" sibling, "^^" grandparent, "/a" from the root,
    // "shared::a.b" in the shared tree; a step may carry "#", "#N", "#+N", "#-N".
    CError addChild(CObject*& child, const CStringBuf& tag, const CStringBuf& name, bool useTemplates);
    CObject* findObject(const CStringBuf& path);
    CObject* findChild(const CStringBuf& step);
    bool templateExists(const CStringBuf& name) const;

    /// The absolute name a path would have, without needing its last step to exist.
    void getFullPath(CStringBuf& out, const CStringBuf& path);

    /// Creates, links and fully starts a child at run time. On failure no child remains.
    template <class T>
    CError createChild(T*& child, const CStringBuf& tag, const CStringBuf& name, bool mustBeTemplate,
                       const CAttrMap* postInitAttrs = nullptr, const CAttrMap* attrs = nullptr);

    /// "Unable to find object '%1' ('%2')", "Incompatible type of object '%1' ('%2')"
    template <class T>
    CError findObjectChecked(T*& object, const CStringBuf& path);

    /// Takes the string value of attribute `attrName` as a path; the object must exist and be of class T.
    template <class T>
    CError findObjectByAttr(T*& object, const CStringBuf& attrName);

    /// Destroys an object and its subtree: uninit, children last to first, detachFromParent, destructor.
    static void destroy(CObject* object);

    // Attributes. Values in trees may hold expressions in braces; see expandValue.
    CError setAttrString(const CStringBuf& name, const CStringBuf& value, bool runHandler);
    CError setAttr(const CStringBuf& name, const CAttrValue& value, bool runHandler);
    CError setAttrs(const CAttrMap& map, bool runPending);

    /// Stores text that came from a user, a file or another instance: no expansion of braces.
    CError setAttrPlain(const CStringBuf& name, const CStringBuf& value, bool runHandler);

    bool hasAttr(const CStringBuf& name) const;
    bool getAttrBool(const CStringBuf& name) const;
    double getAttrDouble(const CStringBuf& name) const;
    int getAttrInt(const CStringBuf& name) const;
    const CStringBuf& getAttrString(const CStringBuf& name) const;
    const CAttrValue* findAttr(const CStringBuf& name) const;

    /// Looks in this object, then up the tree; null when nobody has it.
    const CAttrValue* findInheritedAttr(const CStringBuf& name) const;

    // Events.
    void listenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName, const CStringBuf& handlerName);
    void unlistenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName);
    CError sendEvent(const CStringBuf& eventName, CAttrMap& params, bool forceQueue = false);
    CError sendEvent(const CStringBuf& eventName);
    CError runEvent(const CStringBuf& eventName, CAttrMap& params);
    CError runEvent(const CStringBuf& eventName);
    CError runEventBridged(CObject& sender, const CStringBuf& handlerName, CAttrMap& params);
    CError releaseBridged();

    /// Loads a compiled tree into this object, which takes the role of the root node. With doInit false this object
    /// does not run its own start stages, while all its descendants do.
    CError loadTree(const CStringBuf& resourceName, bool doInit);

    /// Makes this object the root of a tree. The server may be null (the shared tree); it must outlive the tree.
    void makeRoot(CNotifyServer* server);

    CNotifyServer* notifyServer() const noexcept { return server; }

protected:
    /// Context of the errors that this object reports.
    const CStringBuf& errorContext() const noexcept { return fullNameText; }

    // A class that serves a thread's queue sets these three.
    CObjectEventBridge* bridge = nullptr;
    std::thread::id bridgeThreadId;
    bool noBridge = true;

private:
    CError createChildObject(CObject*& child, const CStringBuf& tag, const CStringBuf& name, bool mustBeTemplate);
    CError startChild(CObject& child, const CAttrMap* postInitAttrs, const CAttrMap* attrs);
    CError requireObject(CObject*& object, const CStringBuf& path);
    CError requireObjectByAttr(CObject*& object, const CStringBuf& attrName);
    CError failIncompatible(const CStringBuf& path);
    CError failIncompatibleByAttr(const CStringBuf& attrName);
    CError failInvalidClass(const CStringBuf& tag, const CStringBuf& name);

    const CObjectClassInfo* classInfo = nullptr;
    CAttrMap attrs;
    CAttrValue* pendingAttrs = nullptr;
    CArray<CObject*> childList;
    CStringBuf fullNameText;
    int startState = 0;
    bool readOnly = false;
    bool isShortcut = false;
    std::unique_ptr<CTemplateBody> templateBody;
    const CAttrMap* postInit = nullptr;
    CObject* templateObject = nullptr;
    CMap<CStringBuf, int> nameCounters;
    CMap<CStringBuf, CMap<int, CObject*>> childrenByName;
    CMap<CStringBuf, CMap<CStringBuf, CStringBuf>> listenedSources;
    CNotifyServer* server = nullptr;
    CObject* parentObject = nullptr;
    CObject* rootObject = nullptr;
    int id = -1;
    CStringBuf tagText;
    CMap<CStringBuf, CObject*> templates;
    CMap<CObject*, CMap<CStringBuf, CStringBuf>> attrDependents;
    CSet<CObject*> attrSources;
};

template <class T>
CError CObject::createChild(T*& child, const CStringBuf& tag, const CStringBuf& name, bool mustBeTemplate,
                            const CAttrMap* postInitAttrs, const CAttrMap* childAttrs)
{
    CObject* made = nullptr;
    KOR_TRY(createChildObject(made, tag, name, mustBeTemplate));
    T* typed = dynamic_cast<T*>(made);
    if (typed == nullptr)
    {
        destroy(made);
        return failInvalidClass(tag, name);
    }
    KOR_TRY(startChild(*made, postInitAttrs, childAttrs));
    child = typed;
    return {};
}

template <class T>
CError CObject::findObjectChecked(T*& object, const CStringBuf& path)
{
    CObject* found = nullptr;
    KOR_TRY(requireObject(found, path));
    T* typed = dynamic_cast<T*>(found);
    if (typed == nullptr)
        return failIncompatible(path);
    object = typed;
    return {};
}

template <class T>
CError CObject::findObjectByAttr(T*& object, const CStringBuf& attrName)
{
    CObject* found = nullptr;
    KOR_TRY(requireObjectByAttr(found, attrName));
    T* typed = dynamic_cast<T*>(found);
    if (typed == nullptr)
        return failIncompatibleByAttr(attrName);
    object = typed;
    return {};
}

}
