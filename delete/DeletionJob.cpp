#include "delete/DeletionJob.h"

#include "delete/NodeDeletion.h"
#include "scan/SZAException.h"

namespace slicewise {

namespace {

bool hasFileForItsStrategy(SZADeleteType type, const SZANode &node)
{
    switch (type) {
    case SZADeleteTypeParent:
        return node.filename().has_value();
    case SZADeleteTypeAsset:
        return node.filename().value_or("").starts_with(kMediaDirectory);
    default:
        return true;
    }
}

} // namespace

bool asksBeforeDeletion(SZADeleteType type)
{
    return type == SZADeleteTypeApp || type == SZADeleteTypePackage;
}

DeletionOutcome deleteByType(SZADeleteType type, const SZANode &node, Deletion &deletion)
{
    if (!hasFileForItsStrategy(type, node)) {
        return {};
    }
    switch (type) {
    case SZADeleteTypeRegular:
        return {.deleted = regularDelete(node, deletion), .errorText = {}};
    case SZADeleteTypeApp:
        return {.deleted = appDelete(node, deletion), .errorText = {}};
    case SZADeleteTypeParent:
        return {.deleted = parentDelete(node, deletion), .errorText = {}};
    case SZADeleteTypePackage: {
        PackageDeletion package = dpkgDeleteWithErrorString(node, deletion);
        return {.deleted = package.removed, .errorText = std::move(package.errorText)};
    }
    case SZADeleteTypeAsset:
        return {.deleted = assetDelete(node, deletion), .errorText = {}};
    default:
        throw SZAException("Delete type not implemented");
    }
}

} // namespace slicewise
