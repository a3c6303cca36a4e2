#include "widgets/smoky_standard_icons.h"

#include "widgets/icons.h"

namespace smoky {

QIcon standardIcon(QStyle::StandardPixmap pixmap)
{
    switch (pixmap) {
    case QStyle::SP_MessageBoxCritical:
        return icon("error");
    case QStyle::SP_MessageBoxWarning:
        return icon("warning");
    case QStyle::SP_MessageBoxInformation:
        return icon("information");
    case QStyle::SP_MessageBoxQuestion:
        return icon("question");
    case QStyle::SP_FileDialogBack:
    case QStyle::SP_ArrowBack:
        return icon("go-back");
    case QStyle::SP_ArrowForward:
    // Every menu bar asks for this one, and the framework's own makes it load all its picture formats.
    case QStyle::SP_ToolBarHorizontalExtensionButton:
        return icon("go-forward");
    case QStyle::SP_FileDialogToParent:
        return icon("go-up");
    case QStyle::SP_FileDialogNewFolder:
        return icon("new-folder");
    case QStyle::SP_FileDialogListView:
        return icon("list-view");
    case QStyle::SP_FileDialogDetailedView:
        return icon("detail-view");
    case QStyle::SP_DirIcon:
    case QStyle::SP_DirOpenIcon:
    case QStyle::SP_DirClosedIcon:
    case QStyle::SP_DirLinkIcon:
    case QStyle::SP_DirHomeIcon:
        return icon("folder");
    case QStyle::SP_FileIcon:
    case QStyle::SP_FileLinkIcon:
        return icon("file");
    case QStyle::SP_ComputerIcon:
        return icon("computer");
    case QStyle::SP_DriveHDIcon:
    case QStyle::SP_DriveNetIcon:
    case QStyle::SP_DriveCDIcon:
        return icon("drive");
    default:
        return {};
    }
}

} // namespace smoky
