import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// Last step: everything the app will be made with, in plain words.
// objectNames: reviewSummary, review:<row key> (the value of each row: name, address, browser,
// window, tabs, incognito, browserRole, location, links, appearance, import)
ScrollView {
    id: review
    property AppCreationWizardStore wizard
    contentWidth: availableWidth
    clip: true

    // Tab addresses change without a property of their own: this counts their changes.
    property int tabsRevision: 0
    Connections {
        target: review.wizard ? review.wizard.draft.tabs : null
        function onTabsChanged() { review.tabsRevision++ }
    }
    property int rulesRevision: 0
    Connections {
        target: review.wizard ? review.wizard.draft.routingRules : null
        function onRulesChanged() { review.rulesRevision++ }
    }

    function yesNo(value) { return value ? qsTr("Yes") : qsTr("No") }

    readonly property var rows: {
        const w = wizard
        if (!w)
            return []
        tabsRevision; rulesRevision // re-read on change
        const tabs = w.draft.isTabbedApp ? w.draft.tabs.validUrls() : []
        const appearance = []
        if (w.draft.forceDarkMode) appearance.push(qsTr("Always dark"))
        if (w.draft.accentColorEnabled) appearance.push(qsTr("Accent colour %1").arg(w.draft.accentColor.toString()))
        if (w.draft.restoreTabsOnLaunch) appearance.push(qsTr("Reopens the last pages"))
        if (w.draft.passwordManagerCompatibility) appearance.push(qsTr("Password manager compatibility"))
        const ruleCount = w.draft.routingRules.count
        return [
            { key: "name", label: qsTr("Name"), value: w.draft.appName },
            { key: "address", label: qsTr("Web address"), value: w.draft.savedAddress },
            { key: "browser", label: qsTr("Browser"), value: w.draft.selectedBrowserName },
            { key: "window", label: qsTr("Opens as"), value: w.draft.isTabbedApp ? qsTr("Tabs") : qsTr("A single window") },
            { key: "tabs", label: qsTr("Tabs"), value: tabs.length > 0 ? tabs.join("\n") : qsTr("None") },
            { key: "incognito", label: qsTr("Private mode"), value: yesNo(w.draft.enableIncognito) },
            { key: "browserRole", label: qsTr("Offered as a web browser"), value: yesNo(w.draft.registerAsBrowser) },
            { key: "location", label: qsTr("Saved in"), value: w.draft.appSaveLocation },
            { key: "links", label: qsTr("Links"),
              value: (ruleCount === 1 ? qsTr("1 rule") : qsTr("%1 rules").arg(ruleCount))
                     + qsTr("; other links: %1").arg(w.draft.defaultRouteDestination.label) },
            { key: "appearance", label: qsTr("Appearance"),
              value: appearance.length > 0 ? appearance.join(", ") : qsTr("As the site shows itself") },
            { key: "import", label: qsTr("Browser data"),
              value: w.imports.importEnabled ? qsTr("Brings over: %1").arg(w.imports.importCategories.join(", ")) : qsTr("Not brought over") }
        ]
    }

    ColumnLayout {
        width: review.availableWidth
        spacing: 12
        Label {
            text: review.wizard && review.wizard.isEditing ? qsTr("Check your changes, then save.")
                                                           : qsTr("Check your app, then create it.")
            font.bold: true
        }
        RowLayout {
            spacing: 16
            Image {
                source: review.wizard ? review.wizard.icon.iconPreview : ""
                sourceSize.width: 160
                Layout.preferredWidth: reviewFont.height * 5
                Layout.preferredHeight: reviewFont.height * 5
                Layout.alignment: Qt.AlignTop
                fillMode: Image.PreserveAspectFit
                Accessible.ignored: true
            }
            GridLayout {
                objectName: "reviewSummary"
                columns: 2
                columnSpacing: 16
                rowSpacing: 6
                Layout.fillWidth: true
                Repeater {
                    model: review.rows
                    delegate: Label {
                        required property var modelData
                        required property int index
                        text: modelData.label
                        opacity: 0.7
                        Layout.row: index
                        Layout.column: 0
                        Layout.alignment: Qt.AlignTop
                    }
                }
                Repeater {
                    model: review.rows
                    delegate: Label {
                        required property var modelData
                        required property int index
                        objectName: "review:" + modelData.key
                        text: modelData.value
                        wrapMode: Text.Wrap
                        Layout.row: index
                        Layout.column: 1
                        Layout.fillWidth: true
                        Accessible.name: modelData.label + ": " + modelData.value
                    }
                }
            }
        }
    }
    FontMetrics { id: reviewFont }
}
