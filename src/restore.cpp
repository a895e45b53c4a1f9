#include "restore.h"

#include "restoreObj.h"
#include "restoreProp.h"
#include "xmlUtils.h"

namespace {

/// Binds the topmost object. A failure of ADsGetObject prints a message, without an "Error" line.
Status bindTopObject(IXMLDOMElement& element, ComPtr<IADs>& object) {
    Bstr path;
    if (Status status = xmlGetAttr(element, pathAttribute, path); status < 0) return reported(status);
    const Status status = bindObject(path, object);
    if (status < 0)
        outPrintf(standardError(), "Root object %S doesn't exist...not handling this yet\n", path);
    return status;
}

/// Finds the `props` or `children` element of an `obj` element. A missing one is a failure: the live object
/// isn't changed as if the file had an empty one.
Status getRequiredChild(IXMLDOMElement& element, BSTR tag, ComPtr<IXMLDOMNode>& child) {
    if (Status status = xmlGetOnlyChild(element, tag, child); status < 0) return reported(status);
    return child ? S_OK : reported(E_FAIL);
}

/// Checks that the first digit of the version is the supported one, 1.
Status checkVersion(IXMLDOMElement& documentElement) {
    Bstr version;
    const Status status = xmlGetAttr(documentElement, versionAttribute, version);
    if (status < 0) return reported(status);
    if (status == S_FALSE) {
        errPrintf("Invalid backup (no \"version\" attribute on the metabase tag)\n");
        return E_FAIL;
    }
    if (!view(version).starts_with(u'1')) {
        errPrintf("Invalid backup (unknown version \"%S\")\n", version);
        return E_FAIL;
    }
    return S_OK;
}

} // namespace

Status restoreMain() {
    runSettings.errStream = &standardOutput();
    // No change is committed before its line has reached the system, whatever ends the process then.
    if (!runSettings.dryRun) standardOutput().setFlush(OutStream::Flush::eachLine);
    ComPtr<IXMLDOMDocument> document;
    if (Status status = xmlLoadFile(runSettings.backupFile, document); status < 0) return reported(status);
    ComPtr<IXMLDOMElement> documentElement;
    if (Status status = document->get_documentElement(documentElement.out()); status < 0)
        return reported(status);
    if (!documentElement) return reported(E_UNEXPECTED);
    if (Status status = validateBackup(*documentElement); status < 0) return reported(status);
    ComPtr<IXMLDOMNode> top;
    if (Status status = documentElement->get_firstChild(top.out()); status < 0) return reported(status);
    if (!top) return reported(E_UNEXPECTED);
    if (Status status = restoreObject(*top, nullptr); status < 0) return reported(status);
    return S_OK;
}

Status validateBackup(IXMLDOMElement& documentElement) {
    if (Status status = checkVersion(documentElement); status < 0) return status;
    LONG count = 0;
    if (Status status = xmlChildCount(documentElement, count); status < 0) return reported(status);
    if (count != 1) {
        errPrintf("Invalid backup (metabase tag should have one child; it has %d)\n", count);
        return E_FAIL;
    }
    ComPtr<IXMLDOMNode> child;
    if (Status status = documentElement.get_firstChild(child.out()); status < 0) return reported(status);
    if (!child) return reported(E_UNEXPECTED);
    Bstr name;
    if (Status status = child->get_nodeName(name.out()); status < 0) return reported(status);
    if (!equal(name, u"obj")) {
        errPrintf("Invalid backup (child of metabase node is of type \"%S\")\n", name);
        return E_FAIL;
    }
    return S_OK;
}

Status restoreObject(IXMLDOMNode& node, IADs* object) {
    ComPtr<IXMLDOMElement> element;
    if (Status status = query(node, element); status < 0) return reported(status);
    ComPtr<IADs> live(object);
    if (!live) {
        if (Status status = bindTopObject(*element, live); status < 0) return status;
    }
    ComPtr<IXMLDOMNode> props;
    if (Status status = getRequiredChild(*element, propsTag, props); status < 0) return status;
    if (Status status = reconcileProperties(*live, *props); status < 0) return reported(status);
    ComPtr<IXMLDOMNode> children;
    if (Status status = getRequiredChild(*element, childrenTag, children); status < 0) return status;
    if (Status status = reconcileChildren(*live, *children); status < 0) return reported(status);
    return S_OK;
}

// These two print changes, which go to errStream, and not the lines of -debug.
int logCreateObject(const OLECHAR* objectText, const OLECHAR* className) {
    errPrintf("CREATE OBJECT: %S (class %S)\n", objectText, className);
    return runSettings.dryRun ? 1 : 0;
}

int logDeleteObject(IADs& object) {
    Bstr path;
    if (object.get_ADsPath(path.out()) < 0) path = Bstr(u"<unknown name: get_ADsPath failed>");
    Bstr className;
    if (object.get_Class(className.out()) < 0) className = Bstr(u"<unknown class: get_Class failed>");
    errPrintf("DELETE OBJECT: %S (class %S)\n", path, className);
    return runSettings.dryRun ? 1 : 0;
}
