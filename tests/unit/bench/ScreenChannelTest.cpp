// The screen channel, from inside a program with a real window on a virtual X server.

#include "BenchScreen.h"
#include "World.h"
#include "XServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

/// Connects, sends a request and reads to the end.
std::string ask(const std::string& request) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s/screen.sock", World_folder().c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return "no channel";
    }
    send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    std::string answer;
    char buffer[4096];
    for (ssize_t count = read(fd, buffer, sizeof buffer); count > 0;
         count = read(fd, buffer, sizeof buffer)) {
        answer.append(buffer, static_cast<size_t>(count));
    }
    close(fd);
    return answer;
}

int quitMainLoop(void*) {
    gtk_main_quit();
    return G_SOURCE_REMOVE;
}

/// Runs the main loop while another thread does what a bench does.
void whileRunning(const std::function<void()>& bench) {
    std::thread thread([&] {
        EXPECT_TRUE(World_waitUntil([] { return ask("hello\n") != "no channel"; }, 10'000));
        bench();
        gdk_threads_add_idle(quitMainLoop, nullptr);
    });
    gtk_main();
    thread.join();
}

/// A window with one widget of each kind that the channel treats in its own way.
class ScreenChannel : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::string display = XServer_start();
        ASSERT_FALSE(display.empty());
        setenv("DISPLAY", display.c_str(), 1);
        setenv("NO_AT_BRIDGE", "1", 0);
        ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    }
    void SetUp() override {
        window = gtk_window_new(GTK_WINDOW_POPUP);
        gtk_window_move(GTK_WINDOW(window), 40, 30);
        gtk_window_set_title(GTK_WINDOW(window), "meter");
        gtk_widget_set_size_request(window, 400, 300);
        fixed = gtk_fixed_new();
        gtk_container_add(GTK_CONTAINER(window), fixed);
        label = gtk_label_new(nullptr);
        gtk_label_set_markup(GTK_LABEL(label), "<b>25.0</b>\tW\n\\");
        gtk_widget_set_name(label, "single.fwd.value");
        put(label, 100, 50);
        hidden = gtk_label_new("hidden");
        put(hidden, 0, 0);
        check = gtk_check_button_new_with_label("on");
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(check), TRUE);
        put(check, 10, 200);
        entry = gtk_entry_new();
        gtk_entry_set_text(GTK_ENTRY(entry), "1.5");
        gtk_widget_set_sensitive(entry, FALSE);
        put(entry, 10, 100);
        gtk_widget_show_all(window);
        gtk_widget_hide(hidden);
    }
    void TearDown() override {
        gtk_widget_destroy(window);
    }
    void put(GtkWidget* widget, int x, int y) const {
        gtk_fixed_put(GTK_FIXED(fixed), widget, x, y);
    }
    void paint(const char* css) const {
        GtkCssProvider* const provider = gtk_css_provider_new();
        gtk_css_provider_load_from_data(provider, css, -1, nullptr);
        gtk_style_context_add_provider_for_screen(gtk_widget_get_screen(window),
                                                  GTK_STYLE_PROVIDER(provider), 900);
        g_object_unref(provider);
    }
    static ScreenWidget find(const std::vector<ScreenWidget>& widgets, const std::string& type,
                             const std::string& text) {
        for (const ScreenWidget& widget : widgets) {
            if (widget.type == type && widget.text == text) {
                return widget;
            }
        }
        ADD_FAILURE() << "no " << type << " that shows " << text;
        return {};
    }

    GtkWidget* window = nullptr;
    GtkWidget* fixed = nullptr;
    GtkWidget* label = nullptr;
    GtkWidget* hidden = nullptr;
    GtkWidget* check = nullptr;
    GtkWidget* entry = nullptr;
};

} // namespace

TEST_F(ScreenChannel, EveryWidgetIsListedAsAPersonSeesIt) {
    paint("window { background-color: #102030; }"
          "label { color: #ff8000; font: 20px Monospace; }");
    std::vector<ScreenWidget> widgets;
    whileRunning([&] { EXPECT_TRUE(BenchScreen_list(World_folder(), widgets)); });

    const ScreenWidget top = find(widgets, "GtkWindow", "meter");
    EXPECT_EQ(top.depth, 0);
    EXPECT_EQ(top.x, 40);
    EXPECT_EQ(top.y, 30);
    EXPECT_EQ(top.width, 400);
    EXPECT_EQ(top.height, 300);

    const ScreenWidget value = find(widgets, "GtkLabel", "25.0\tW\n\\");
    EXPECT_EQ(value.depth, 2);
    EXPECT_EQ(value.name, "single.fwd.value");
    EXPECT_TRUE(value.isVisible);
    EXPECT_EQ(value.x, 140);
    EXPECT_EQ(value.y, 80);
    EXPECT_EQ(value.foreground, "#ff8000");
    EXPECT_EQ(value.background, "#102030");
    EXPECT_THAT(value.font, testing::HasSubstr("Monospace"));

    EXPECT_FALSE(find(widgets, "GtkLabel", "hidden").isVisible);
    EXPECT_TRUE(find(widgets, "GtkCheckButton", "on").isActive);
    EXPECT_FALSE(find(widgets, "GtkEntry", "1.5").isSensitive);
}

TEST_F(ScreenChannel, OneWidgetIsTheOneThatIsFoundAmongAll) {
    gtk_widget_set_name(hidden, "25");
    whileRunning([&] {
        std::vector<ScreenWidget> all;
        EXPECT_TRUE(BenchScreen_list(World_folder(), all));
        for (const char* name : {"single.fwd.value", "25.0\tW\n\\", "1.5", "25", "hidden", "on",
                                 "meter", "GtkFixed", "none", "25.0"}) {
            std::optional<ScreenWidget> one;
            EXPECT_TRUE(BenchScreen_one(World_folder(), name, one)) << name;
            const ScreenWidget* found = BenchScreen_find(all, name);
            ASSERT_EQ(one.has_value(), found != nullptr) << name;
            if (one) {
                EXPECT_EQ(*one, *found) << name;
            }
        }
    });
}

TEST_F(ScreenChannel, ATextThatIsTooLongForARequestIsFound) {
    for (const size_t length : {999U, 1000U, 1001U, 5000U}) {
        const std::string text(length, 'W');
        gtk_entry_set_text(GTK_ENTRY(entry), text.c_str());
        std::optional<ScreenWidget> one;
        whileRunning([&] { EXPECT_TRUE(BenchScreen_one(World_folder(), text, one)); });
        ASSERT_TRUE(one) << length;
        EXPECT_EQ(one->text, text);
    }
}

TEST_F(ScreenChannel, NothingComesWithTheWidgetThatIsWantedButTheWindows) {
    std::vector<ScreenWidget> widgets;
    whileRunning([&] { EXPECT_TRUE(BenchScreen_named(World_folder(), "1.5", widgets)); });
    size_t others = 0;
    for (const ScreenWidget& widget : widgets) {
        others += widget.depth > 0 && widget.text != "1.5" ? 1 : 0;
    }
    EXPECT_EQ(others, 0U);
    EXPECT_FALSE(find(widgets, "GtkEntry", "1.5").isSensitive);
    EXPECT_EQ(find(widgets, "GtkWindow", "meter").depth, 0);
}

TEST_F(ScreenChannel, WhatHasJustChangedIsListedAtItsNewPlace) {
    GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    GtkWidget* const first = gtk_label_new("");
    GtkWidget* const second = gtk_label_new("second");
    gtk_container_add(GTK_CONTAINER(box), first);
    gtk_container_add(GTK_CONTAINER(box), second);
    put(box, 10, 250);
    gtk_widget_show_all(box);
    std::optional<ScreenWidget> before;
    std::optional<ScreenWidget> after;
    whileRunning([&] {
        EXPECT_TRUE(BenchScreen_one(World_folder(), "second", before));
        gdk_threads_add_idle_full(
            G_PRIORITY_HIGH,
            [](gpointer resized) -> gboolean {
                gtk_widget_set_size_request(static_cast<GtkWidget*>(resized), 100, -1);
                return G_SOURCE_REMOVE;
            },
            first, nullptr);
        EXPECT_TRUE(BenchScreen_one(World_folder(), "second", after));
    });
    ASSERT_TRUE(before && after);
    EXPECT_EQ(after->x, before->x + 100);
}

TEST_F(ScreenChannel, ARowOfADropDownHasItsText) {
    GtkWidget* const combo = gtk_combo_box_text_new();
    for (const char* row : {"300", "9600"}) {
        gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), row);
    }
    gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 1);
    put(combo, 10, 250);
    gtk_widget_show_all(combo);
    std::vector<ScreenWidget> widgets;
    whileRunning([&] { EXPECT_TRUE(BenchScreen_list(World_folder(), widgets)); });
    EXPECT_TRUE(find(widgets, "GtkCellView", "9600").isVisible);
}

TEST_F(ScreenChannel, APictureShowsEveryWindowAtItsPlace) {
    paint("window { background-color: #102030; background-image: none; }");
    std::string png;
    whileRunning([&] { EXPECT_TRUE(BenchScreen_picture(World_folder(), png)); });
    GdkPixbufLoader* const loader = gdk_pixbuf_loader_new();
    ASSERT_TRUE(gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar*>(png.data()),
                                        png.size(), nullptr));
    ASSERT_TRUE(gdk_pixbuf_loader_close(loader, nullptr));
    const GdkPixbuf* const picture = gdk_pixbuf_loader_get_pixbuf(loader);
    EXPECT_EQ(gdk_pixbuf_get_width(picture), 1024);
    EXPECT_EQ(gdk_pixbuf_get_height(picture), 768);
    const auto colourAt = [picture](int x, int y) {
        const guchar* const pixel = gdk_pixbuf_read_pixels(picture) +
                                    y * gdk_pixbuf_get_rowstride(picture) +
                                    x * gdk_pixbuf_get_n_channels(picture);
        return pixel[0] << 16 | pixel[1] << 8 | pixel[2];
    };
    EXPECT_EQ(colourAt(40 + 398, 30 + 298), 0x102030);
    EXPECT_EQ(colourAt(38, 28), 0) << "beside the window";
    g_object_unref(loader);
}

TEST_F(ScreenChannel, AnUnknownRequestIsNamedWithWhatIsAllowed) {
    std::string answer;
    whileRunning([&] { answer = ask("dance\n"); });
    EXPECT_EQ(answer, "error: unknown request; allowed: list [TEXT], picture\n");
}

TEST_F(ScreenChannel, AHundredAskersAtOnceAreAllAnswered) {
    whileRunning([&] {
        std::vector<std::thread> askers;
        askers.reserve(10);
        std::atomic<int> answered{0};
        for (int index = 0; index < 10; ++index) {
            askers.emplace_back([&] {
                for (int round = 0; round < 10; ++round) {
                    answered += ask("list\n").find("single.fwd.value") != std::string::npos ? 1 : 0;
                }
            });
        }
        for (std::thread& asker : askers) {
            asker.join();
        }
        EXPECT_EQ(answered, 100);
    });
}

TEST_F(ScreenChannel, AMainLoopThatDoesNotAnswerIsToldOf) {
    whileRunning([] {});
    World_setSpeed(1);
    std::string answer;
    std::thread asker([&] { answer = ask("list\n"); });
    asker.join(); // five seconds, while no main loop runs
    EXPECT_EQ(answer, "error: the program's main loop does not answer\n");
    whileRunning([&] { answer = ask("list\n"); });
    EXPECT_THAT(answer, testing::HasSubstr("single.fwd.value"));
}
