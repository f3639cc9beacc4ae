#include "Commands.h"

#include "AutoUpdateCommand.h"
#include "BrowsersCommand.h"
#include "BulkCommand.h"
#include "CreateCommand.h"
#include "DeleteCommand.h"
#include "DesktopEntriesCommand.h"
#include "EditCommand.h"
#include "ExportCommand.h"
#include "IconCommand.h"
#include "ImportCommand.h"
#include "InfoCommand.h"
#include "ListCommand.h"
#include "OpenUrlCommand.h"
#include "ProfilesCommand.h"
#include "RegistryCommand.h"
#include "ScriptCommand.h"
#include "UpdateCommand.h"

namespace Commands {

std::vector<std::unique_ptr<Command>> all()
{
    std::vector<std::unique_ptr<Command>> list;
    list.push_back(std::make_unique<CreateCommand>());
    list.push_back(std::make_unique<BulkCommand>());
    list.push_back(std::make_unique<ListCommand>());
    list.push_back(std::make_unique<InfoCommand>());
    list.push_back(std::make_unique<EditCommand>());
    list.push_back(std::make_unique<UpdateCommand>());
    list.push_back(std::make_unique<ExportCommand>());
    list.push_back(std::make_unique<ImportCommand>());
    list.push_back(std::make_unique<AutoUpdateCommand>());
    list.push_back(std::make_unique<DeleteCommand>());
    list.push_back(std::make_unique<BrowsersCommand>());
    list.push_back(std::make_unique<ProfilesCommand>());
    list.push_back(std::make_unique<IconCommand>());
    list.push_back(std::make_unique<RegistryCommand>());
    list.push_back(std::make_unique<DesktopEntriesCommand>());
    list.push_back(std::make_unique<ScriptCommand>());
    list.push_back(std::make_unique<OpenUrlCommand>());
    return list;
}

} // namespace Commands
