#include "support/TestContext.h"

#include "frontend/AppCreationWizardStore.h"
#include "frontend/FrontendQmlTypes.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// What a view does with the stores: bind to their properties, use their enumerations, call their
// actions with the values they hand out.
TEST(FrontendQmlTypes, ViewsBindToTheStores)
{
    TestContext test;
    FrontendQmlTypes::registerTypes();
    AppCreationWizardStore wizard(test.context());
    QQmlEngine engine;
    engine.rootContext()->setContextProperty(u"wizard"_s, &wizard);
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQml
        import Sorvane.Frontend
        QtObject {
            property string title: wizard.appName.length > 0 ? wizard.appName : "New App"
            property bool onBasics: wizard.currentStep === AppCreationWizardStore.Basics
            property bool circle: wizard.selectedIconShape === "circle" && IconShape.Circle === 0
            property int rules: wizard.routingRules.count
            property string firstChoice: wizard.destinations.destinationAt(0).label
            function typeName(text) { wizard.appName = text }
            function pasteRules(text) {
                return wizard.routingRules.addSeveralRules(text, wizard.destinations.destinationAt(1))
            }
        }
    )", QUrl(u"qrc:/binding-test.qml"_s));
    std::unique_ptr<QObject> view(component.create());
    ASSERT_TRUE(view) << qPrintable(component.errorString());

    EXPECT_EQ(view->property("title").toString(), u"New App"_s);
    EXPECT_TRUE(view->property("onBasics").toBool());
    EXPECT_FALSE(view->property("circle").toBool());
    wizard.setProperty("selectedIconShape", u"circle"_s);
    EXPECT_TRUE(view->property("circle").toBool());
    EXPECT_EQ(view->property("firstChoice").toString(), u"Default browser"_s);
    QMetaObject::invokeMethod(view.get(), "typeName", Q_ARG(QVariant, u"Mail"_s));
    EXPECT_EQ(wizard.appName(), u"Mail"_s);
    EXPECT_EQ(view->property("title").toString(), u"Mail"_s);

    QVariant added;
    QMetaObject::invokeMethod(view.get(), "pasteRules", Q_RETURN_ARG(QVariant, added),
                              Q_ARG(QVariant, u"a.example b.example"_s));
    EXPECT_EQ(added.toInt(), 2);
    EXPECT_EQ(view->property("rules").toInt(), 2);
    EXPECT_EQ(wizard.routingRules()->rules().first().destination.kind, RoutingDestination::Kind::InApp);

    wizard.setProperty("appURL", u"https://mail.example.org/"_s);
    ASSERT_TRUE(wizard.nextStep());
    EXPECT_FALSE(view->property("onBasics").toBool());
}
