// objectNames: "homeScreen", "newAppButton", "importButton", "exportButton", "bulkButton",
// "settingsButton", "searchField", "filterBox", "sortBox", "sortDirectionButton", "appGrid",
// "loadingIndicator", "emptyState", "createFirstAppButton", "noMatchLabel", "workBar",
// "workTitle", "workProgress", "workCancelButton", "updateStatus"; each app's tile:
// see AppTile.qml.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// The main window's page: the user's apps as a grid of tiles, found with search, filter and
// sort, and the actions that make, bring in and take out apps.
Page {
    id: page
    objectName: "homeScreen"

    required property HomescreenStore home
    // The automatic updates (AppUpdateScheduler): what they are doing, in one line.
    property QtObject updates: null

    signal settingsRequested()
    signal bulkRequested()
    signal exportRequested()
    signal importRequested()

    readonly property bool hasApps: home.apps.count > 0

    FontMetrics { id: fontInfo }

    function focusSearch() {
        if (!searchField.visible)
            return
        searchField.forceActiveFocus()
        searchField.selectAll()
    }

    header: ToolBar {
        ColumnLayout {
            anchors.fill: parent
            spacing: 0

            RowLayout {
                Layout.fillWidth: true
                Layout.leftMargin: fontInfo.height
                Layout.rightMargin: fontInfo.height / 2

                Label {
                    text: qsTr("Your apps")
                    font.bold: true
                    font.pointSize: fontInfo.font.pointSize * 1.4
                    Accessible.role: Accessible.Heading
                }
                BusyIndicator {
                    objectName: "loadingIndicator"
                    running: page.home.isLoading
                    visible: running
                    Layout.preferredHeight: fontInfo.height * 1.5
                    Layout.preferredWidth: Layout.preferredHeight
                    Accessible.name: qsTr("Loading your apps")
                }
                Label {
                    objectName: "updateStatus"
                    text: page.updates ? page.updates.status : ""
                    visible: text.length > 0
                    elide: Text.ElideRight
                    opacity: 0.75
                    Layout.leftMargin: fontInfo.height / 2
                    Layout.fillWidth: true
                    Accessible.role: Accessible.StatusBar
                    Accessible.name: text
                }
                Item { Layout.fillWidth: true; visible: !(page.updates && page.updates.status.length > 0) }
                Button {
                    objectName: "newAppButton"
                    text: qsTr("New App")
                    highlighted: true
                    Accessible.name: text
                    onClicked: page.home.newApp()
                }
                ToolButton {
                    objectName: "bulkButton"
                    text: qsTr("Bulk…")
                    Accessible.name: qsTr("Create several apps from a list")
                    ToolTip.text: Accessible.name
                    ToolTip.visible: hovered
                    ToolTip.delay: 600
                    onClicked: page.bulkRequested()
                }
                ToolButton {
                    objectName: "importButton"
                    text: qsTr("Import…")
                    Accessible.name: qsTr("Import apps from a file")
                    ToolTip.text: Accessible.name
                    ToolTip.visible: hovered
                    ToolTip.delay: 600
                    onClicked: page.importRequested()
                }
                ToolButton {
                    objectName: "exportButton"
                    text: qsTr("Export…")
                    enabled: page.hasApps
                    Accessible.name: qsTr("Export apps to a file")
                    ToolTip.text: Accessible.name
                    ToolTip.visible: hovered
                    ToolTip.delay: 600
                    onClicked: page.exportRequested()
                }
                ToolButton {
                    objectName: "settingsButton"
                    text: qsTr("Settings")
                    Accessible.name: text
                    onClicked: page.settingsRequested()
                }
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.leftMargin: fontInfo.height
                Layout.rightMargin: fontInfo.height
                Layout.bottomMargin: fontInfo.height / 3
                visible: page.hasApps

                TextField {
                    id: searchField
                    objectName: "searchField"
                    Layout.fillWidth: true
                    Layout.maximumWidth: fontInfo.averageCharacterWidth * 48
                    placeholderText: qsTr("Search apps by name or address")
                    text: page.home.searchText
                    focus: true
                    selectByMouse: true
                    Accessible.name: qsTr("Search apps")
                    onTextEdited: page.home.searchText = text
                    Keys.onEscapePressed: page.home.searchText = ""
                    Keys.onDownPressed: grid.forceActiveFocus()
                }
                Item { Layout.fillWidth: true }
                Label { text: qsTr("Show") }
                ComboBox {
                    objectName: "filterBox"
                    // In the order of HomescreenStore.AppFilter.
                    model: [qsTr("All"), qsTr("Standard"), qsTr("Tabbed")]
                    currentIndex: page.home.selectedFilter
                    Accessible.name: qsTr("Show which apps")
                    onActivated: index => page.home.selectedFilter = index
                }
                Label { text: qsTr("Sort by") }
                ComboBox {
                    objectName: "sortBox"
                    // In the order of HomescreenStore.AppSortOrder.
                    model: [qsTr("Name"), qsTr("Date")]
                    currentIndex: page.home.sortOrder
                    Accessible.name: qsTr("Sort by")
                    onActivated: index => page.home.sortOrder = index
                }
                ToolButton {
                    objectName: "sortDirectionButton"
                    readonly property bool ascending: page.home.sortDirection === 0
                    text: ascending ? qsTr("Ascending") : qsTr("Descending")
                    Accessible.name: qsTr("Sort direction: %1").arg(text)
                    onClicked: page.home.sortDirection = ascending ? 1 : 0
                }
            }
        }
    }

    GridView {
        id: grid
        objectName: "appGrid"
        anchors.fill: parent
        anchors.margins: fontInfo.height
        visible: page.hasApps
        clip: true
        model: page.home.filteredApps
        activeFocusOnTab: true
        keyNavigationEnabled: true
        cellWidth: Math.max(fontInfo.averageCharacterWidth * 26, width / Math.max(1, Math.floor(width / (fontInfo.averageCharacterWidth * 26))))
        cellHeight: fontInfo.height * 9.5
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Your apps")
        ScrollBar.vertical: ScrollBar {}
        // A list filled (or searched) after the grid was made has no current tile yet; the
        // keyboard needs one.
        onCountChanged: if (currentIndex < 0 && count > 0) currentIndex = 0

        delegate: AppTile {
            home: page.home
            width: GridView.view.cellWidth - fontInfo.height / 2
            height: GridView.view.cellHeight - fontInfo.height / 2
            focus: GridView.isCurrentItem
        }
    }

    Label {
        objectName: "noMatchLabel"
        anchors.centerIn: parent
        visible: page.hasApps && page.home.filteredApps.count === 0
        text: qsTr("No app matches your search.")
        opacity: 0.75
    }

    // The operation running in the background (an import, a delete): the window stays usable
    // meanwhile, and an import can stop between two apps.
    footer: ToolBar {
        objectName: "workBar"
        visible: page.home.work.running

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: fontInfo.height
            anchors.rightMargin: fontInfo.height / 2

            Label {
                objectName: "workTitle"
                text: page.home.work.step ? page.home.work.title + " " + page.home.work.step : page.home.work.title
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            ProgressBar {
                objectName: "workProgress"
                value: page.home.work.fraction
                indeterminate: page.home.work.fraction <= 0
                Layout.preferredWidth: fontInfo.averageCharacterWidth * 24
                Accessible.name: page.home.work.title
            }
            ToolButton {
                objectName: "workCancelButton"
                visible: page.home.work.cancellable
                text: qsTr("Cancel")
                Accessible.name: qsTr("Cancel %1").arg(page.home.work.title)
                onClicked: page.home.work.cancel()
            }
        }
    }

    // Nothing made yet: one clear way to start.
    ColumnLayout {
        objectName: "emptyState"
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * fontInfo.height, fontInfo.averageCharacterWidth * 60)
        visible: !page.hasApps && !page.home.isLoading
        spacing: fontInfo.height

        Label {
            Layout.fillWidth: true
            text: qsTr("No apps yet")
            font.bold: true
            font.pointSize: fontInfo.font.pointSize * 1.6
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.Heading
        }
        Label {
            Layout.fillWidth: true
            text: qsTr("Turn any web site into an app of its own, with its own window, icon and sign-ins.")
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Button {
            objectName: "createFirstAppButton"
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Create your first app")
            highlighted: true
            focus: !page.hasApps
            Accessible.name: text
            onClicked: page.home.newApp()
        }
        Label {
            Layout.fillWidth: true
            text: qsTr("Already have apps from Sorvane on another computer? Use Import.")
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            opacity: 0.75
        }
    }
}
