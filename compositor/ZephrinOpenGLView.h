// The one place where a frame becomes a stamped frame. For every camera frame the capture
// pipeline hands in a source buffer and an empty output buffer; the view draws all layers into
// the output through an offscreen framebuffer - camera (or imported photo) through the film
// filter, particles, map, compass, text block, logo - so the stamp is in the file's pixels, and
// the same texture goes to the screen, if there is one.
//
// On a machine without a GPU every shaded pixel is dear, so when the camera layer would copy
// its source unchanged (filter "None", no mirroring, same size, nothing under or over it but
// the overlays) the frame pass copies memory and shades only the overlays' rectangles, and only
// those rectangles travel to GL and back.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "compositor/RippleModel.h"
#include "compositor/dance_swing.h"
#include "compositor/frame_geometry.h"
#include "compositor/gl_programs.h"
#include "compositor/image.h"
#include "compositor/overlay_placement.h"
#include "engine/CCTexture2D.h"
#include "engine/PixelBufferTextures.h"
#include "engine/gl_objects.h"
#include "platform/gl/GLContext.h"
#include "platform/media/PixelBuffer.h"
#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"
#include "stamp/LineDrawer.h"

namespace orvane::engine {
class CCParticleSystemQuad;
}

namespace orvane::compositor {

// What the frame pass answers: 0, or -50 when a buffer, the framebuffer or the context is
// missing, or a texture could not be made.
inline constexpr std::int32_t kFramePassParameterError = -50;

// Shows the view's frames on a screen. The headless program has none; the desktop view
// implements it. Called on the main queue with the view's context current.
class ScreenPresenter {
  public:
    virtual ~ScreenPresenter() = default;
    // The framebuffer to draw into and its pixel size.
    virtual GLuint framebuffer() = 0;
    virtual SizeI framebufferSize() = 0;
    // Shows what was drawn.
    virtual void present() = 0;
    // A frame waits for showCurrentFrame, which the presenter runs on its main queue.
    virtual void frameReady() = 0;
    // The first frame since setReset reached the screen: the view fades in.
    virtual void firstFrameShown() = 0;
};

class ZephrinOpenGLView {
  public:
    using ContextFactory =
        std::function<std::unique_ptr<platform::GLContext>(std::string& problem)>;
    using LineDrawerFactory = std::function<std::unique_ptr<stamp::LineDrawer>()>;

    // `start` holds the selections of the first run or of the store. No GL exists until the
    // first setDimensions.
    ZephrinOpenGLView(screen::SettingsStore& store, const screen::GLViewStartValues& start,
                      ContextFactory makeContext, LineDrawerFactory makeLineDrawer);
    ~ZephrinOpenGLView();
    ZephrinOpenGLView(const ZephrinOpenGLView&) = delete;
    ZephrinOpenGLView& operator=(const ZephrinOpenGLView&) = delete;

    // Stores the video's size; the first call sets GL up.
    void setDimensions(std::int32_t width, std::int32_t height, float focalLenIn35mmFilm);
    // The view's size for the camera's aspect fill; the video's size until set.
    void setBounds(float width, float height);
    bool isReady() const { return _ready; }

    // Draws the source frame and every layer into `output`. Returns 0 or -50. The GL work is
    // issued; where the context allows, the read back into `output` completes at
    // finishRenderingPixelBuffer (stills always complete before return).
    std::int32_t displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                             const platform::PixelBufferRef& output,
                                             bool isStillImage);
    // Completes the last frame's output buffer: true when nothing was pending or it arrived
    // whole.
    bool finishRenderingPixelBuffer();

    // The imported photo (or none), the logo and the map; `loadLuoPanImage` loads the compass.
    void setMainPhoto(const std::optional<Image>& photo);
    void setWatermark(const std::optional<Image>& logo);
    void setMap(const std::optional<Image>& map);
    void loadLuoPanImage();

    void setPresenter(ScreenPresenter* presenter) { _presenter = presenter; }
    // The screen pass: shows the newest rendered frame. Main queue.
    void showCurrentFrame();

    // Selections of the effects. Main queue.
    void saveEffectIndex(std::int64_t index);
    std::int64_t getEffectIndex() const { return _curEffect.load(std::memory_order_relaxed); }
    void saveParticleIndex(std::int64_t index);
    std::int64_t getParticleIndex() const { return _curParticle.load(std::memory_order_relaxed); }
    void saveBackgroundIndex(std::int64_t index);
    std::int64_t getBackgroundIndex() const {
        return _curBackground.load(std::memory_order_relaxed);
    }
    void setShowCam(bool shown) { _bShowCam.store(shown, std::memory_order_relaxed); }
    bool isShowCam() const { return _bShowCam.load(std::memory_order_relaxed); }
    // Bending mode: the camera and the imported photo swing on a bent mesh.
    void setDanceMode(bool on) { _bDanceMode.store(on, std::memory_order_relaxed); }
    // The preview grid: 0 draws the normal frame, 1 to 100 the grid at that zoom (100 the whole
    // grid); a value outside is taken to the nearer end. `previewEffect` picks the list shown:
    // 0 film filters, 1 backgrounds, 2 particles.
    void setEffectScale(int scale);
    void setPreviewEffect(std::int64_t list) {
        _previewEffect.store(list, std::memory_order_relaxed);
    }

    // The text position 0 to 5: alignment, the stamp's text again, and the stored code.
    void setTPosition(std::int64_t position);
    std::int64_t getTPosition() const { return _timePosition.load(std::memory_order_relaxed); }
    // Recomputes alignment, quad and text rectangle; the head of every frame pass.
    void resetTimePositon();
    // The font, colour and size of the stamp; a size above 0 also sets the text distance.
    void setFont(const std::optional<std::string>& font,
                 const std::optional<foundation::Color>& color, float size);
    void setStroke(bool on, const foundation::Color& color);
    stamp::LineDrawer* lineDrawer() { return _lineDrawer.get(); }
    // The camera screen's compass reading, for the compass overlay and the stamp's degrees.
    void setLuoPanSource(stamp::LineDrawer::LuoPanSource source);

    // The compass dial for a locale name ("zh_CN.UTF-8", "zh-Hant", "en_GB"): Simplified or
    // Traditional Chinese lettering, else the plain one.
    static const char* compassDialName(std::string_view locale);

    // The particle source follows a touch: position in view points, relative to the view's size.
    void touchAt(float x, float y, float viewWidth, float viewHeight);
    void touchEnded();

    // How the last frame was drawn, for tests and benchmarks.
    struct FrameStats {
        bool copiedCamera = false;  // the camera layer was a memory copy
        int shadedRects = 0;        // rectangles uploaded, shaded and read back
        std::int64_t readPixels = 0;
    };
    const FrameStats& lastFrameStats() const { return _stats; }
    // Forces the shaded camera layer, for tests that compare both roads.
    void setCopyShortcutEnabled(bool enabled) { _copyShortcut = enabled; }

    // Class-level state, one copy for the process: read by the still path too.
    static void setReset() { frameIn.store(false); }
    static bool isFrameIn() { return frameIn.load(); }
    static void setCameraPosition(bool back) { backCamera.store(back); }
    static bool isBackCamera() { return backCamera.load(); }
    static void setOnlyFrontCamera(bool only) { onlyFrontCamera.store(only); }
    static bool isOnlyFrontCamera() { return onlyFrontCamera.load(); }
    static void rotateWatermark(int orientation);
    static void setTextDistance(int distance) { textDistance.store(distance); }
    static int getTextDistance() { return textDistance.load(); }
    static int getStampOrientation() { return stampOrientation.load(); }
    static RectF getTextRect();
    static std::array<float, 8> getStampQuadVertices();
    static SizeI getFrameSize() { return {frameWidth.load(), frameHeight.load()}; }
    static void setRecordActvie(bool) {}

  private:
    // Where this frame's overlays go: viewports (absent for an unknown place, which keeps the
    // previous layer's viewport) and the text block's square and scissor.
    struct OverlayPlan {
        bool drawMap = false;
        bool drawCompass = false;
        bool drawWatermark = false;
        std::optional<std::array<int, 4>> map;
        std::optional<std::array<int, 4>> compass;
        std::optional<std::array<int, 4>> watermark;
        std::array<int, 4> text{};
        std::optional<RectF> scissor;
    };

    // What this frame draws under its overlays: the film filter, and the particles when their
    // sprite is loaded.
    struct FrameLayers {
        std::size_t effect = 0;
        std::size_t particle = 0;
        bool particlesOn = false;
    };
    struct CameraPlacement {
        CameraQuad quad;
        Matrix4 model;
    };
    // The frame pass's three roads, cheapest first.
    enum class Road { BlendTextOnCopy, ShadeOverlaysOnCopy, ShadeEveryLayer };

    // The frame pass's steps, in their order.
    FrameLayers chooseLayers();
    void advanceAnimations(int width, int height, const FrameLayers& layers);
    CameraPlacement placeCamera(int width, int height);
    // The room the stamp layer lays its block out in, for this frame's size and orientation.
    engine::Size textRoomFor(int width, int height) const;
    Margins textMargins(int width, int height) const;
    bool compassShown() const;
    bool attachOutputTexture(int width, int height);
    Road chooseRoad(const platform::PixelBuffer& source, int width, int height,
                    const FrameLayers& layers, const CameraPlacement& camera,
                    const OverlayPlan& plan) const;
    void copyCameraUnderOverlays(const OverlayPlan& plan, const platform::PixelBuffer& source,
                                 platform::PixelBuffer& output, int width, int height);
    bool drawCameraLayers(const platform::PixelBuffer& source, int width, int height,
                          const FrameLayers& layers, const CameraPlacement& camera);
    std::int32_t readBackOverlays(const platform::PixelBufferRef& output, bool isStillImage);

    bool setupGLES();
    bool loadFilter(std::int64_t index);
    bool loadParticle(std::int64_t index);
    std::shared_ptr<engine::CCTexture2D> uploadImage(const Image& image);
    stamp::LineDrawer::LuoPanReading luoPanReading() const;
    OverlayPlan planOverlays(int width, int height) const;
    static std::optional<std::array<int, 4>> viewportAt(std::optional<PointI> origin, SizeI size);
    // The rectangles the overlays may touch, clipped to the frame, into _overlayRects.
    void collectOverlayRects(const OverlayPlan& plan, int width, int height);
    // Layers drawn into the bound offscreen framebuffer, in the pass's order.
    void drawImportedPhoto(int width, int height, std::size_t effect);
    void drawCameraLayer(int width, int height, std::size_t effect, const CameraQuad& quad,
                         const Matrix4& model);
    // The camera through `effect` into the current viewport.
    void shadeCamera(std::size_t effect, const CameraQuad& quad, const Matrix4& model);
    // The bending mesh, made with its buffers at the first bent frame; false when it cannot be
    // (no bending program, a frame too small for a mesh): the layers are then drawn flat.
    bool prepareRipple(int width, int height, const platform::PixelBuffer& source);
    // One layer on the mesh, its swing one step further: the picture on texture `unit`, its
    // coordinates from `coordinates`, `mulcamera` -1 to turn the front camera's picture over.
    void drawDanceMesh(GLenum unit, GLuint picture, GLuint coordinates, float mulcamera,
                       DanceState& state, std::size_t effect);
    void drawDancingPhoto(int width, int height, std::size_t effect);
    // The 3 by 3 grid of previews in place of the picture and its particles.
    void drawPreviewGrid(int width, int height, const FrameLayers& layers,
                         const CameraPlacement& camera);
    void drawParticles(int width, int height, std::size_t particle);
    void drawOverlays(const OverlayPlan& plan);
    void drawOverlay(GLuint texture, const std::array<float, 8>& quad);
    void drawCompass(const OverlayPlan& plan, const std::array<float, 8>& quad);
    // The source copied into the output with the text block blended over it on the CPU; false
    // when the stamp cannot be read (the output then holds the plain copy).
    bool copyAndBlendTextBlock(const OverlayPlan& plan, const platform::PixelBuffer& source,
                               platform::PixelBuffer& output, int width, int height);
    // Reads `read`, a part of the texel rectangle `texels`, into the kept copy of the stamp.
    bool readStampTexels(const std::array<int, 4>& texels, const std::array<int, 4>& read);

    screen::SettingsStore& _store;
    screen::SettingsCache& _cache;
    ContextFactory _makeContext;
    LineDrawerFactory _makeLineDrawer;

    std::unique_ptr<platform::GLContext> _oglContext;
    bool _ready = false;
    std::int32_t _offscreenDimensions[2] = {0, 0};
    float _focalLenIn35mmFilm = 0;
    float _bounds[2] = {0, 0};

    CompositorPrograms _programs;
    engine::GLFramebuffer _offscreenBufferHandle;
    std::unique_ptr<engine::PixelBufferTexture> _sourceTexture;
    std::unique_ptr<engine::PixelBufferTexture> _outputTexture;
    std::unique_ptr<engine::PixelBufferReadback> _readback;
    platform::PixelBufferRef _pendingOutput;
    bool _asyncReadback = false;
    bool _copyShortcut = true;

    std::atomic<std::int64_t> _curEffect{0};
    std::atomic<std::int64_t> _curBackground{0};
    std::atomic<std::int64_t> _curParticle{0};
    std::atomic<std::int64_t> _timePosition{0};
    std::atomic<bool> _bShowCam{true};
    std::atomic<bool> _bDanceMode{false};
    std::atomic<int> _effectScale{0};
    std::atomic<std::int64_t> _previewEffect{0};
    float _zoomScale = 1.0f;

    // Bending mode's mesh, its buffers, and the swing of each layer.
    std::unique_ptr<RippleModel> _ripple;
    engine::GLBuffer _positionVBO;
    engine::GLBuffer _texcoordVBO;
    engine::GLBuffer _photoCoordVBO;
    engine::GLBuffer _indexVBO;
    DanceState danceStatePhoto;
    DanceState danceStateCamera;

    std::array<std::shared_ptr<engine::CCTexture2D>, 11> _filterTexture;
    std::array<std::shared_ptr<engine::CCTexture2D>, 22> _particleTexture;
    std::shared_ptr<engine::CCTexture2D> _importFileTexture;
    int _importWidth = 0;
    int _importHeight = 0;
    std::shared_ptr<engine::CCTexture2D> _watermark;
    std::shared_ptr<engine::CCTexture2D> _map;
    std::shared_ptr<engine::CCTexture2D> _compassNeedle;
    std::shared_ptr<engine::CCTexture2D> _compassDial;
    std::optional<Image> _pendingWatermark;  // a logo handed in before GL exists

    std::unique_ptr<engine::CCParticleSystemQuad> _emitter;
    std::unique_ptr<stamp::LineDrawer> _lineDrawer;

    stamp::LineDrawer::LuoPanSource _luoPan;
    ScreenPresenter* _presenter = nullptr;
    std::mutex _previewMutex;  // guards the frame waiting for the screen pass
    bool _previewPending = false;

    // The stamp's texels as last read back, and which draw and rectangle they are of.
    std::vector<std::uint8_t> _stampTexels;
    std::vector<std::uint8_t> _stampScratch;
    std::uint64_t _stampDraws = ~std::uint64_t{0};
    std::array<int, 4> _stampTexelRect{};

    // Scratch of the frame pass, kept between frames.
    std::vector<std::array<int, 4>> _overlayRects;
    FrameStats _stats;

    static std::atomic<int> frameWidth;
    static std::atomic<int> frameHeight;
    static std::atomic<int> stampOrientation;
    static std::atomic<int> textDistance;
    static std::array<std::atomic<float>, 4> textRect;
    static std::array<std::atomic<float>, 8> stampQuadVertices;
    static std::atomic<bool> backCamera;
    static std::atomic<bool> onlyFrontCamera;
    static std::atomic<bool> frameIn;
};

}  // namespace orvane::compositor
