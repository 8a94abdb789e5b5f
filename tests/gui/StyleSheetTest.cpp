#include "StyleSheet.h"

#include "GtkHelpers.h"
#include "OtherResources.h"
#include "ScreenFixture.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

namespace {

std::string contentOf(const char* file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The first rules of a sheet in their order, each in one line with single blanks, without comments
/// and the names of colours.
std::vector<std::string> firstRulesOf(const char* file, size_t count) {
    std::string text = std::regex_replace(contentOf(file), std::regex(R"(/\*[^*]*\*/)"), " ");
    text = std::regex_replace(text, std::regex(R"(@define-color [^;]*;)"), " ");
    text = std::regex_replace(text, std::regex(R"(\s+)"), " ");
    std::vector<std::string> rules;
    size_t start = 0;
    while (rules.size() < count && text.find('}', start) != std::string::npos) {
        const size_t end = text.find('}', start) + 1;
        const std::string rule = text.substr(start, end - start);
        rules.push_back(rule.substr(rule.find_first_not_of(' ')));
        start = end;
    }
    return rules;
}

/// A node of a window's tree as a style sheet sees it.
struct Node {
    const char* element;
    const char* name = "";
    const char* styleClass = "";
};

/// What the installed sheets make of the last of nested nodes.
class Style {
public:
    explicit Style(const std::vector<Node>& nodes) : context(gtk_style_context_new()) {
        GtkWidgetPath* path = gtk_widget_path_new();
        for (const Node& node : nodes) {
            gtk_widget_path_append_type(path, GTK_TYPE_WIDGET);
            gtk_widget_path_iter_set_object_name(path, -1, node.element);
            if (*node.name != '\0') {
                gtk_widget_path_iter_set_name(path, -1, node.name);
            }
            if (*node.styleClass != '\0') {
                gtk_widget_path_iter_add_class(path, -1, node.styleClass);
            }
        }
        gtk_style_context_set_path(context, path);
        gtk_widget_path_unref(path);
    }
    ~Style() {
        g_object_unref(context);
    }
    Style(const Style&) = delete;
    Style& operator=(const Style&) = delete;

    std::string colour(const char* property) const {
        GdkRGBA* value = nullptr;
        gtk_style_context_get(context, GTK_STATE_FLAG_NORMAL, property, &value, nullptr);
        gchar* text = gdk_rgba_to_string(value);
        std::string result = text;
        g_free(text);
        gdk_rgba_free(value);
        return result;
    }
    int number(const char* property) const {
        int value = 0;
        gtk_style_context_get(context, GTK_STATE_FLAG_NORMAL, property, &value, nullptr);
        return value;
    }
    int border() const {
        GtkBorder border;
        gtk_style_context_get_border(context, GTK_STATE_FLAG_NORMAL, &border);
        return border.top;
    }
    double letters_px() const {
        double value = 0.0;
        gtk_style_context_get(context, GTK_STATE_FLAG_NORMAL, "font-size", &value, nullptr);
        return value;
    }

private:
    GtkStyleContext* context;
};

constexpr char black[] = "rgb(0,0,0)";
constexpr char white[] = "rgb(255,255,255)";

constexpr Node mainWindow = {"window", "mainWindow8830K"};
constexpr Node graphSettings = {"window", "graphSettingsDialog"};

} // namespace

TEST(StyleSheet, BeginsWithTheInstrumentsRules) {
    const std::vector<std::string> expected = {
        "checkbutton check, radiobutton radio { min-width: 24px; min-height: 24px; }",
        ".combo, .popup { font-size: 24px; }",
        "window#mainWindow8830K grid { background-color: black; }",
        "window#mainWindow8830K button { background-color: black; background-image: none; "
        "border: 1px solid black; box-shadow: none; }",
        "window#mainWindow8830K entry { background-color: black; color: yellow; border: none; }",
        "window#mainWindow8830K label { background-color: black; color: white; border: none; }",
        "window#appSettings button { background-color: black; background-image: none; "
        "border: 1px solid black; box-shadow: none; }",
        "dialog#serSettingsDlg .popup { font-size: 18px; }",
        "window#graphSettingsDialog { background-color: ivory; }",
        "window#graphSettingsDialog button { background-color: white; border: 1px solid gray; }",
        "window#graphSettingsDialog button label { color: black; }",
        "window#graphSettingsDialog entry { background-color: white; color: black; }",
        "window#graphSettingsDialog label { background-color: ivory; color: black; }",
    };
    EXPECT_EQ(firstRulesOf("resources/style.css", expected.size()), expected);
}

TEST(StyleSheet, OfThePulseScreensBeginsWithTheirRules) {
    const std::vector<std::string> expected = {
        "notebook, stack, box#pulseDisplay, grid#pulseDisplay { background-color: black; "
        "background-image: none; border: none; }",
        "tabs, tab { background-color: black; border: 1px solid black; }",
        "button#pulseDisplayctive { background-color: black; }",
        "button#pulseDisplayActive label { color: #ffd766; background-color: black; }",
    };
    EXPECT_EQ(firstRulesOf("resources/pulseStyle.css", expected.size()), expected);
}

TEST(StyleSheet, GivesBoxesTheirSizeAndListsTheirLetters) {
    for (const auto& [widget, mark] :
         {std::pair("checkbutton", "check"), std::pair("radiobutton", "radio")}) {
        const Style style({{"window"}, {widget}, {mark}});
        EXPECT_EQ(style.number("min-width"), 24) << mark;
        EXPECT_EQ(style.number("min-height"), 24) << mark;
    }
    EXPECT_EQ(Style({{"window"}, {"box", "", "combo"}}).letters_px(), 24.0);
    EXPECT_EQ(Style({{"window"}, {"box", "", "popup"}}).letters_px(), 24.0);
    EXPECT_EQ(Style({{"dialog", "serSettingsDlg"}, {"box", "", "popup"}}).letters_px(), 18.0);
}

TEST(StyleSheet, PaintsTheMainWindowBlack) {
    EXPECT_EQ(Style({mainWindow, {"grid"}}).colour("background-color"), black);
    const Style button({mainWindow, {"button"}});
    EXPECT_EQ(button.colour("background-color"), black);
    EXPECT_EQ(button.colour("border-top-color"), black);
    EXPECT_EQ(button.border(), 1);
    const Style entry({mainWindow, {"entry"}});
    EXPECT_EQ(entry.colour("background-color"), black);
    EXPECT_EQ(entry.colour("color"), "rgb(255,255,0)");
    EXPECT_EQ(entry.border(), 0);
    const Style label({mainWindow, {"label"}});
    EXPECT_EQ(label.colour("background-color"), black);
    EXPECT_EQ(label.colour("color"), white);
    EXPECT_EQ(label.border(), 0);
}

TEST(StyleSheet, PaintsTheGraphSettingsIvory) {
    constexpr char ivory[] = "rgb(255,255,240)";
    EXPECT_EQ(Style({graphSettings}).colour("background-color"), ivory);
    const Style button({graphSettings, {"button"}});
    EXPECT_EQ(button.colour("background-color"), white);
    EXPECT_EQ(button.colour("border-top-color"), "rgb(128,128,128)");
    EXPECT_EQ(button.border(), 1);
    EXPECT_EQ(Style({graphSettings, {"button"}, {"label"}}).colour("color"), black);
    const Style entry({graphSettings, {"entry"}});
    EXPECT_EQ(entry.colour("background-color"), white);
    EXPECT_EQ(entry.colour("color"), black);
    const Style label({graphSettings, {"label"}});
    EXPECT_EQ(label.colour("background-color"), ivory);
    EXPECT_EQ(label.colour("color"), black);
}

TEST(StyleSheet, PaintsThePulseScreensBlack) {
    for (const Node& node : {Node{"notebook"}, Node{"stack"}, Node{"box", "pulseDisplay"},
                             Node{"grid", "pulseDisplay"}}) {
        const Style style({{"window"}, node});
        EXPECT_EQ(style.colour("background-color"), black) << node.element;
        EXPECT_EQ(style.border(), 0) << node.element;
    }
    for (const char* element : {"tabs", "tab"}) {
        const Style style({{"window"}, {element}});
        EXPECT_EQ(style.colour("background-color"), black) << element;
        EXPECT_EQ(style.colour("border-top-color"), black) << element;
        EXPECT_EQ(style.border(), 1) << element;
    }
    const Style label({{"window"}, {"button", "pulseDisplayActive"}, {"label"}});
    EXPECT_EQ(label.colour("color"), "rgb(255,215,102)");
    EXPECT_EQ(label.colour("background-color"), black);
}

TEST(StyleSheet, NamesTheColoursThatTheScreensHave) {
    const GdkRGBA none = {};
    EXPECT_EQ(StyleSheet_colour("no such meaning", textColorRed).red, 1.0);
    const std::pair<const char*, GdkRGBA> rows[] = {
        {"ground", bgColorBlack},        {"text", textColorWhite},
        {"caption", textColorLightGrey}, {"clickable", textColorClickable},
        {"problem", quorvelSpecificRed}, {"selection", quorvelSpecificBlue},
    };
    for (const auto& [name, colour] : rows) {
        const GdkRGBA named = StyleSheet_colour(name, none);
        for (const auto part : {&GdkRGBA::red, &GdkRGBA::green, &GdkRGBA::blue}) {
            EXPECT_NEAR(named.*part, colour.*part, 0.5 / 255) << name;
        }
    }
}

TEST(StyleSheet, WritesNoColourTwice) {
    const std::string sheet = contentOf("resources/style.css");
    const std::regex literal("#[0-9a-f]{6}");
    const auto last = std::sregex_iterator();
    int uses = 0;
    for (auto found = std::sregex_iterator(sheet.begin(), sheet.end(), literal); found != last;
         ++found, ++uses) {
        const size_t line = sheet.rfind('\n', static_cast<size_t>(found->position())) + 1;
        EXPECT_EQ(sheet.compare(line, 13, "@define-color"), 0) << found->str();
    }
    EXPECT_GT(uses, 0);
}

namespace {

/// After each test the real sheets are there again.
class OtherSheets : public Screens {
protected:
    void TearDown() override {
        StyleSheet_install();
        Gui_settle();
    }
    static bool isDark() {
        gboolean isDark = FALSE;
        g_object_get(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", &isDark,
                     nullptr);
        return isDark != FALSE;
    }
};

constexpr double readable = 4.5;

} // namespace

TEST_F(OtherSheets, WithoutThemTheScreensCanBeRead) {
    World_clearSyslog();
    {
        const WithoutResources elsewhere;
        StyleSheet_install();
    }
    EXPECT_TRUE(World_syslogContains("Style sheet ./resources/style.css, line 1: "));
    EXPECT_TRUE(World_syslogContains("Style sheet ./resources/pulseStyle.css, line 1: "));
    EXPECT_TRUE(isDark());
    for (const auto screen : {gtkSensorSingleChannel1withGraph, gtkSensorSinglePulse,
                              gtkSensorDualPulseChannel1, gtkSensorSingleNoConnection}) {
        Gui_showScreen(screen);
        Gui_settle();
        int texts = 0;
        for (GtkWidget* label : Gui_shownWidgets(GTK_TYPE_LABEL)) {
            const std::string text = gtk_label_get_text(GTK_LABEL(label));
            if (text.find_first_not_of(' ') != std::string::npos) {
                EXPECT_GE(Gui_contrast(label), readable) << gtk_widget_get_name(label);
                ++texts;
            }
        }
        EXPECT_GT(texts, 0) << screen;
    }
}

TEST_F(OtherSheets, AMistakeCostsNoMoreThanItsRule) {
    World_clearSyslog();
    {
        const WithResource broken("style.css", "@define-color clickable #00ff00;\n"
                                               "button { colour: red; }\n"
                                               "@define-color caption #0000ff;\n");
        StyleSheet_install();
    }
    EXPECT_TRUE(World_syslogContains("Style sheet ./resources/style.css, line 2: "));
    EXPECT_TRUE(isDark());
    EXPECT_EQ(StyleSheet_colour("clickable", {}).green, 1.0);
    EXPECT_EQ(StyleSheet_colour("caption", {}).blue, 1.0);
    StyleSheet_install();
    EXPECT_FALSE(isDark());
    EXPECT_EQ(StyleSheet_colour("clickable", {}).red, 1.0);
}
