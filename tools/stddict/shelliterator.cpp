// The operations of the iterator.
#include "tools/stddict/shellbind.h"

namespace shell {

namespace {

using cpi::KelStringBase;
using Iterator = cpi::StdDictionaryIterator;
using Name = const unsigned short*;

void construct(Session& session, std::int32_t tagId) {
  session.iterator = ShellIterator(nullptr, &session.dictionary, tagId);
}
void constructByName(Session& session, Name name, const KelStringBase& namespaceURI) {
  session.iterator = ShellIterator(nullptr, &session.dictionary, name, namespaceURI);
}
void setDictionaryInfo(Session& session, bool isGiven) {
  session.iterator.setDictionaryInfo(isGiven ? &session.dictionary : nullptr);
}
void fork(Session& session) { session.spare = session.iterator; }
void join(Session& session) { session.iterator = session.spare; }
void selfAssign(Session& session) {
  const ShellIterator& same = session.iterator;
  session.iterator = same;
}

constexpr Operation kOperations[] = {
    {"new", "tagId", "a new iterator at a tag; 0: at an untagged root", bind<&construct>},
    {"newName", "tagName namespaceURI", "the same by name; null: without context",
     bind<&constructByName>},
    {"fork", "", "copy the iterator, to come back to it by join", bind<&fork>},
    {"join", "", "go on from the copy that fork made", bind<&join>},
    {"selfAssign", "", "assign the iterator to itself", bind<&selfAssign>},
    {"setDictionaryInfo", "isGiven", "set the dictionary anew, or none; no context is left",
     bind<&setDictionaryInfo>},
    {"setContextFromTag", "tagId", "start at a tag",
     bind<pick<Iterator, void(std::int32_t)>(&Iterator::setContextFromTag)>},
    {"setContextFromTagName", "tagName namespaceURI", "start at a tag of this name",
     bind<pick<Iterator, void(Name, const KelStringBase&)>(&Iterator::setContextFromTag)>},
    {"setContextFromMbrId", "memberId", "start at a member", bind<&Iterator::setContextFromMbrId>},
    {"hasContext", "", "whether a walk has started", bind<&Iterator::hasContext>},
    {"moveToParent", "", "up, past groups", bind<&Iterator::moveToParent>},
    {"moveToFirstChild", "", "first child, whatever it is",
     bind<pick<Iterator, bool()>(&Iterator::moveToFirstChild)>},
    {"moveToFirstChildTagId", "tagId allowUndefined enforceRequired", "first child by tag",
     bind<&Iterator::moveToFirstChildTagId>},
    {"moveToFirstChildTagName", "name namespaceURI allowUndefined enforceRequired",
     "first child by name",
     bind<pick<Iterator, bool(Name, const KelStringBase&, bool, bool)>(
         &Iterator::moveToFirstChildTagName)>},
    {"moveToFirstChildMemberId", "memberId enforceRequired", "first child by member",
     bind<&Iterator::moveToFirstChildMemberId>},
    {"moveToFirstChildSimpleType", "logicalType allowUndefined enforceRequired",
     "first child by logical type", bind<&Iterator::moveToFirstChildSimpleType>},
    {"moveToFirstChildSelfDef", "name namespaceURI enforceRequired",
     "first child that defines itself",
     bind<pick<Iterator, bool(Name, const KelStringBase&, bool)>(
         &Iterator::moveToFirstChildSelfDef)>},
    {"moveToNextSibling", "", "next sibling, whatever it is", bind<&Iterator::moveToNextSibling>},
    {"moveToNextSiblingTagId", "tagId allowUndefined enforceRequired", "next sibling by tag",
     bind<&Iterator::moveToNextSiblingTagId>},
    {"moveToNextSiblingTagName", "name namespaceURI allowUndefined enforceRequired",
     "next sibling by name",
     bind<pick<Iterator, bool(Name, const KelStringBase&, bool, bool)>(
         &Iterator::moveToNextSiblingTagName)>},
    {"moveToNextSiblingMemberId", "memberId enforceRequired", "next sibling by member",
     bind<&Iterator::moveToNextSiblingMemberId>},
    {"moveToNextSiblingSimpleType", "logicalType allowUndefined enforceRequired",
     "next sibling by logical type", bind<&Iterator::moveToNextSiblingSimpleType>},
    {"moveToNextSiblingSelfDef", "name namespaceURI enforceRequired",
     "next sibling that defines itself",
     bind<pick<Iterator, bool(Name, const KelStringBase&, bool)>(
         &Iterator::moveToNextSiblingSelfDef)>},
    {"moveToPreviousSibling", "", "not supported: always an error",
     bind<&Iterator::moveToPreviousSibling>},
    {"moveToNextSiblingOfMbrId", "memberId nextMemberId enforceRequired",
     "on from a member of the path; 0: the next one is unknown",
     bind<&Iterator::moveToNextSiblingOfMbrId>},
    {"listNextSiblings", "expectation enforceRequired",
     "what may come next, and what is owed before the parent may end",
     bind<&Iterator::listNextSiblings>},
    {"listFirstChildren", "expectation enforceRequired",
     "what may come first inside, and what is owed before its end",
     bind<&Iterator::listFirstChildren>},
    {"listOwedSiblings", "expectation", "what is owed before the parent may end",
     bind<&Iterator::listOwedSiblings>},
    {"listOwedChildren", "expectation", "what is owed of an element without children",
     bind<&Iterator::listOwedChildren>},
    {"getDictionaryInfo", "", "the dictionary, or null", bind<&Iterator::getDictionaryInfo>},
    {"getCurrentPosition", "", "the current entry and how the model defines it",
     bind<&Iterator::getCurrentPosition>},
    {"getTagIndex", "", "row of the tag", bind<&Iterator::getTagIndex>},
    {"getRepeatIndex", "", "occurrence of the member, from 0", bind<&Iterator::getRepeatIndex>},
    {"getTagId", "", "id of the tag", bind<&Iterator::getTagId>},
    {"getMemberId", "", "id of the member", bind<&Iterator::getMemberId>},
    {"getTypeId", "", "id of the type", bind<&Iterator::getTypeId>},
    {"getTagName", "", "name of the tag", bind<&Iterator::getTagName>},
    {"getNamespaceURI", "", "namespace of the tag", bind<&Iterator::getNamespaceURI>},
    {"getTagDef", "", "the tag's record", bind<&Iterator::getTagDef>},
    {"getMemberDef", "", "the member's record", bind<&Iterator::getMemberDef>},
    {"getTypeDef", "", "the type's record", bind<&Iterator::getTypeDef>},
    {"getValues", "", "always null", bind<&Iterator::getValues>},
    {"getNodeType", "", "0 message, 1 structure, 2 field, -1 none", bind<&Iterator::getNodeType>},
    {"getPathBasedInfoIndex", "", "always -1", bind<&Iterator::getPathBasedInfoIndex>},
    {"getMinOccurs", "", "least number of occurrences", bind<&Iterator::getMinOccurs>},
    {"getMaxOccurs", "", "greatest number; 2147483647: any", bind<&Iterator::getMaxOccurs>},
    {"getDefaultValue", "", "the default value's record", bind<&Iterator::getDefaultValue>},
    {"getParentMinOccurs", "", "least number of occurrences of the parent",
     bind<&Iterator::getParentMinOccurs>},
    {"getParentTypeIndex", "", "row of the parent's type", bind<&Iterator::getParentTypeIndex>},
    {"getParentTrcRptInd", "", "occurrence of the parent", bind<&Iterator::getParentTrcRptInd>},
    {"getParentTrcName", "", "name of the parent", bind<&Iterator::getParentTrcName>},
    {"getTraceName", "", "name of the element",
     bind<pick<Iterator, KelStringBase() const>(&Iterator::getTraceName)>},
    {"getMemberPath", "path", "member ids from below the root, and their number",
     bind<&Iterator::getMemberPath>},
    {"getPartialMemberPath", "path", "the groups around the element, and their number",
     bind<pick<Iterator, std::int32_t(std::vector<cpi::MbrPathItem>&) const>(
         &Iterator::getPartialMemberPath)>},
    {"getPartialMemberPath_list", "", "the groups alone",
     bind<pick<Iterator, std::vector<cpi::MbrPathItem>() const>(&Iterator::getPartialMemberPath)>},
};

}  // namespace

std::span<const Operation> iteratorOperations() { return kOperations; }

}  // namespace shell
