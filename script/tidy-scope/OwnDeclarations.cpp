// Has clang-tidy look at our own declarations only. Its checks go through everything that a source includes,
// and what they find in the system's headers is thrown away afterwards: that is more than half of the time it
// takes. A plug-in of the compiler front end that clang-tidy runs on; script/tidy builds and loads it.
// Clang's own warnings and the static analyser do not go by the scope that is set here, and are as they were.

#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class ScopeConsumer final : public clang::ASTConsumer {
public:
    void HandleTranslationUnit(clang::ASTContext &context) override
    {
        const clang::SourceManager &sources = context.getSourceManager();
        std::vector<clang::Decl *> own;
        for (clang::Decl *declaration : context.getTranslationUnitDecl()->decls()) {
            const clang::SourceLocation location = sources.getExpansionLoc(declaration->getLocation());
            if (location.isValid() && !sources.isInSystemHeader(location)) {
                own.push_back(declaration);
            }
        }
        context.setTraversalScope(own);
    }
};

class ScopeAction final : public clang::PluginASTAction {
protected:
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance & /*compiler*/,
                                                          llvm::StringRef /*file*/) override
    {
        return std::make_unique<ScopeConsumer>();
    }
    bool ParseArgs(const clang::CompilerInstance & /*compiler*/,
                   const std::vector<std::string> & /*arguments*/) override
    {
        return true;
    }
    // By itself, wherever it is loaded.
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<ScopeAction> kScopeAction("own-declarations",
                                                                   "looks at no system header");

} // namespace
