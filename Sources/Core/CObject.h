// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CAttrValue.h"
#include "Core/CError.h"
#include "Core/CObjectClassInfo.h"

#include <cstdint>
#include <memory>
#include <span>
#include <thread>

namespace kor
{

class CBridgedHandler;
class CNotifyServer;
class CObjectEventBridge;
class CTargetBase;
class CTemplateBody;
class CTreeReader;

// Node of every tree: type tag, name, string attributes, children. A creator table maps the tag to a class; the class
// reacts to attributes and events through per-class handler tables. Paths, attribute expansion, live links between
// attributes, templates, the staged start and events are all here; nothing here knows of audio or views.
// Tree structure, attributes and handlers belong to the thread that built the tree; the shared tree is frozen once it
// is complete, and from then on every thread may read it.
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

    /// Runs the three stages of a root or another object that no tree and no createChild starts.
    CError start();

    /// Called when `child` is linked but not started. A failure destroys the child.
    virtual CError onChildAdded(CObject& child);

    /// Takes `child` out of this object's lists; does not destroy it.
    virtual void removeChild(CObject& child);
    virtual void onTreeHook() {}

    /// Withdraws listeners and links, ahead of the destruction of the children. It must bear an object whose init
    /// never ran or failed. Overrides call the base class too.
    virtual void uninit();
    virtual void detachFromParent();

    /// Attribute `attrName` of this object follows `source`, which has a new value. The base class stores it without
    /// expansion and runs the handler. For a follower of all attributes `attrName` is the source's name for it.
    virtual CError onSourceAttrChanged(CObject& source, const CStringBuf& attrName, CAttrValue& value);

    /// Destroys the child that asked for it; nothing when that child is gone.
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

    /// In order of creation. Valid until a child comes or goes.
    std::span<CObject* const> children() const noexcept { return childList; }
    const CAttrMap& attributes() const noexcept { return attrs; }

    // Tree. Paths: "a.b" from the root, ".a" own child, "^a" sibling, "^^" grandparent, "/a" from the root,
    // "shared::a.b" in the shared tree; a step may carry "#", "#N", "#+N", "#-N".

    /// Creates and links a child without starting it. On failure no child remains.
    CError addChild(CObject*& child, const CStringBuf& tag, const CStringBuf& name, bool useTemplates);
    CObject* findObject(const CStringBuf& path);
    CObject* findChild(const CStringBuf& step);
    bool templateExists(const CStringBuf& name) const;

    /// The absolute name a path would have, without needing its last step to exist. "shared::" stays in front of a
    /// name in the shared tree; a path that leads nowhere is given back as it is.
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

    // Attributes. Values in trees may hold expressions in braces; see CAttrExpansion. On a read-only or frozen object,
    // and with an empty name, setting does nothing and succeeds. Without runHandler the handler waits for initAttrs.
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

    /// Follows all attributes of `source`: each change calls onSourceAttrChanged with the source's name for it.
    void followAllAttrs(CObject& source);

    /// Ends every link from `source` to this object.
    void unfollow(CObject& source);

    // Events. A listener is served by the nearest object upward that owns a bridge; without one it is never called.
    void listenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName, const CStringBuf& handlerName);
    void unlistenObject(const CStringBuf& sourceFullName, const CStringBuf& eventName);
    CError sendEvent(const CStringBuf& eventName, CAttrMap& params, bool forceQueue = false);
    CError sendEvent(const CStringBuf& eventName);
    CError runEvent(const CStringBuf& eventName, CAttrMap& params);
    CError runEvent(const CStringBuf& eventName);
    CError runEventBridged(CObject& sender, const CStringBuf& handlerName, CAttrMap& params);
    CError releaseBridged();

    /// What other threads need to run a handler of this object through its bridge, by value. The tree's own thread.
    CBridgedHandler bridgedHandler(const CStringBuf& handlerName) const;

    /// The receiving end of a posted event: runs the handler "listener-proc" of the object "listener", found from
    /// here, if its id is "listener-id"; otherwise the event is stale and dropped. The tree's own thread.
    CError deliverPosted(CAttrMap& params);

    /// Loads a compiled tree into this object, which takes the role of the root node. With doInit false this object
    /// does not run its own start stages, while all its descendants do.
    CError loadTree(const CStringBuf& resourceName, bool doInit);

    /// Makes this object the root of a tree. The server may be null (the shared tree); it must outlive the tree. The
    /// caller runs start; without a shared tree that leaves the object read-only.
    void makeRoot(CNotifyServer* server);

    CNotifyServer* notifyServer() const noexcept { return server; }

    /// Converts every value of this subtree in all forms and refuses changes from then on, so that all threads may
    /// read. Links to a frozen object take the value once and register nothing.
    void freezeTree();
    bool isFrozen() const noexcept { return frozen; }

protected:
    /// Context of the errors that this object reports.
    const CStringBuf& errorContext() const noexcept { return fullNameText; }

    // A class that serves a thread's queue sets these three in its init, ahead of its children's start. The bridge is
    // counted, so that a sender on another thread may still hold it when the owner is gone.
    std::shared_ptr<CObjectEventBridge> bridge;
    std::thread::id bridgeThreadId;
    bool noBridge = true;

private:
    friend class CAttrExpansion;
    friend class CNotifyServer;
    friend class CTargetBase;
    friend class CTreeReader;

    /// Who follows this object: nothing in `attrs` means all attributes, else own name to the follower's name.
    struct CDependent
    {
        CObject* object = nullptr;
        CMap<CStringBuf, CStringBuf> attrs;
    };

    struct CIndexedChild
    {
        int index;
        CObject* object;
    };

    /// The children of one base name, sorted by index; the counter stays when they are gone. Most names belong to one
    /// child, which is kept in place.
    struct CNamedChildren
    {
        int counter = 0;
        CIndexedChild sole = {0, nullptr};          // null when there is none or more than one
        CArray<CIndexedChild> list;                 // empty while there is a sole child

        std::span<const CIndexedChild> all() const noexcept;

        /// Null when the index is free.
        CObject* find(int index) const noexcept;
        void insert(int index, CObject& object);
        void remove(int index, const CObject& object) noexcept;
        static bool comesBefore(const CIndexedChild& child, int index) noexcept;
    };

    CError createChildObject(CObject*& child, const CStringBuf& tag, const CStringBuf& name, bool mustBeTemplate);
    CError startChild(CObject& child, const CAttrMap* postInitAttrs, const CAttrMap* attrs);
    CError requireObject(CObject*& object, const CStringBuf& path);
    CError requireObjectByAttr(CObject*& object, const CStringBuf& attrName);
    CError failIncompatible(const CStringBuf& path);
    CError failIncompatibleByAttr(const CStringBuf& attrName);
    CError failInvalidClass(const CStringBuf& tag, const CStringBuf& name);

    CObject* findTemplate(const CStringBuf& name) const;
    CObject* createByTag(const CStringBuf& classTag, const CStringBuf& name) const;
    CError enterChild(CObject& child, const CStringBuf& name);
    void enterTemplate(CObject& child);
    CObject* walkPath(const CStringBuf& path, int& hopsLeft);

    bool refusesChanges() const noexcept { return readOnly || frozen; }
    CError applyTreeAttr(const CStringBuf& name, const CStringBuf& value, bool mayExpand);
    CError valueStored(const CStringBuf& name, CAttrValue& value, bool runHandler);
    CError forward(const CStringBuf& name, CAttrValue& value);
    CError runPendingAttrs();
    void linkAttr(CObject& source, const CStringBuf& sourceAttr, const CStringBuf& ownAttr);
    void withdrawLinks();
    CObject* findNearestNamed(const CStringBuf& baseName);
    const CObject* nearestBridgeOwner() const noexcept;
    void addressPost(CAttrMap& params, const CObject& sender, const CStringBuf& handlerName) const;

    const CObjectClassInfo* classInfo = nullptr;
    const std::uint64_t creationOrder;              // over all trees of the process
    CAttrMap attrs;
    CAttrValue* pendingAttrs = nullptr;
    CArray<CObject*> childList;
    CStringBuf fullNameText;
    int startState = 0;
    bool readOnly = false;
    bool frozen = false;
    bool isShortcut = false;
    std::unique_ptr<CTemplateBody> templateBody;
    const CAttrMap* postInit = nullptr;
    CObject* templateObject = nullptr;
    CMap<CStringBuf, CNamedChildren> childrenByName;
    CNamedChildren* namedAmong = nullptr;           // this object's entry in its parent's childrenByName
    int nameIndex = 0;
    CMap<CStringBuf, CMap<CStringBuf, CStringBuf>> listenedSources;
    CNotifyServer* server = nullptr;
    CObject* parentObject = nullptr;
    CObject* rootObject = nullptr;
    int id = -1;
    CStringBuf tagText;
    CMap<CStringBuf, CObject*> templates;
    CMap<std::uint64_t, CDependent> attrDependents; // by the dependent's creationOrder
    CSet<CObject*> attrSources;
    CTargetBase* followers = nullptr;               // targets that point here; they turn null when this goes
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
