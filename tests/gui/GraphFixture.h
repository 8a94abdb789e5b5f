#ifndef TESTS_GUI_GRAPH_FIXTURE_H
#define TESTS_GUI_GRAPH_FIXTURE_H

#include "ScreenFixture.h"
#include "SensorDisplays.h"
#include "gtkTimePowerGraph.h"

#include <cmath>
#include <random>

/// A curve as a function of the sample's index.
using Curve = float (*)(uint32_t index);

/// The screens with graph, their displays' buffers empty and the default settings of the graph.
class GraphScreens : public Screens {
protected:
    void SetUp() override {
        Screens::SetUp();
        configuration_setDisplayGraph(true);
        for (uint32_t display = 0; display < 2; ++display) {
            CGraphData_create(&sensorDisplays[display].graphDataPwr, 64);
            setAxis(0.0, 10000.0, display);
        }
        for (const CwScreen& screen : cwScreens) {
            CGTKTimePowerGraph& graph = gtkSensor_cwDisplay(screen.instance)->graph;
            if (graph.container != nullptr) {
                CGTKTimePowerGraph_setGraphDataInstance(
                    &graph, &sensorDisplays[screen.display].graphDataPwr);
            }
        }
    }

    static CGTKTimePowerGraph& graphOf(GtkSensorInstance screen) {
        return gtkSensor_cwDisplay(screen)->graph;
    }
    static CGraphData& bufferOf(uint32_t display) {
        return sensorDisplays[display].graphDataPwr;
    }
    /// Limits of the power axis in mW, the limit lines at a quarter and three quarters.
    static void setAxis(double min_mW, double max_mW, uint32_t display) {
        GraphSettings_t settings = configuration_getGraphSettings(display);
        settings.unit = graphScale_mW;
        settings.minPower = min_mW;
        settings.maxPower = max_mW;
        settings.minLimitLine = min_mW + (max_mW - min_mW) / 4.0;
        settings.maxLimitLine = max_mW - (max_mW - min_mW) / 4.0;
        configuration_setGraphSettings(settings, display);
    }
    static void add(uint32_t display, uint32_t count, Curve curve) {
        for (uint32_t i = 0; i < count; ++i) {
            CGraphData_addItem(&bufferOf(display), curve(i));
        }
    }
    static void update(GtkSensorInstance screen) {
        CGTKTimePowerGraph_update(&graphOf(screen));
        Gui_settle();
    }
    static void showAndUpdate(GtkSensorInstance screen) {
        Gui_showScreen(screen);
        Gui_settle();
        update(screen);
    }
};

/// Noise that is the same in every run.
inline float noisyCurve(uint32_t index) {
    std::minstd_rand random(index + 1);
    random.discard(3);
    return 5.0F + 4.0F * std::sin(static_cast<float>(index) / 3000.0F) +
           static_cast<float>(random() % 1000) / 500.0F - 1.0F;
}

inline float quietCurve(uint32_t index) {
    return 5.0F + 4.0F * std::sin(static_cast<float>(index) / 3000.0F);
}

#endif
