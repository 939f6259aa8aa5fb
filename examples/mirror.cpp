// Image source -> Mirror -> grabber: the smallest complete chain.
//
// Draws a test picture, mirrors it left-right and writes both as PPM files
// into the folder given as the first argument (default "out").
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "framquist.h"

using namespace framquist;

// A picture whose left and right halves differ, so the flip shows.
static IFQImageBuffer TestPicture(int w, int h) {
  auto frame = IFQImageBuffer::Create(w, h, vf24Bit);
  std::uint8_t* p = frame.GetWritePointer();
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::uint8_t* px = p + y * frame.GetLineStep() + x * 3;
      const bool box = x > w / 8 && x < w / 3 && y > h / 4 && y < h / 2;
      px[0] = static_cast<std::uint8_t>(box ? 40 : 255 * y / h);  // blue
      px[1] = static_cast<std::uint8_t>(box ? 200 : 128);         // green
      px[2] = static_cast<std::uint8_t>(box ? 250 : 255 * x / w); // red
    }
  return frame;
}

static bool WritePpm(const std::filesystem::path& file, const IFQImageBuffer& frame) {
  std::ofstream out(file, std::ios::binary);
  out << "P6\n" << frame.GetWidth() << " " << frame.GetHeight() << "\n255\n";
  for (int y = 0; y < frame.GetHeight(); ++y) {
    const std::uint8_t* row = frame.GetReadPointer() + y * frame.GetLineStep();
    for (int x = 0; x < frame.GetWidth(); ++x) {
      const char rgb[3] = {static_cast<char>(row[3 * x + 2]), static_cast<char>(row[3 * x + 1]),
                           static_cast<char>(row[3 * x])};
      out.write(rgb, 3);
    }
  }
  return static_cast<bool>(out);
}

int main(int argc, char** argv) {
  const std::filesystem::path dir = argc > 1 ? argv[1] : "out";
  std::filesystem::create_directories(dir);

  // README example: begin
  auto source = Make<TFQImageSource>();
  auto mirror = Make<TFQMirror>();
  auto grabber = Make<TFQImageGrabber>();
  source->OutputPin.Connect(mirror->InputPin);
  mirror->OutputPin.Connect(grabber->InputPin);
  mirror->SetMirrorType(mtVertical); // left and right exchange

  const IFQImageBuffer picture = TestPicture(320, 240);
  source->StartStream(320, 240, vf24Bit, 400000); // 25 frames per second
  source->Push(picture);
  source->StopStream();
  const IFQImageBuffer mirrored = grabber->GetLastFrame();
  // README example: end

  // The first pixel of each row must now be the last one of the input row.
  const std::uint8_t* in = picture.GetReadPointer();
  const std::uint8_t* out = mirrored.GetReadPointer();
  if (mirrored.IsEmpty() || out[0] != in[319 * 3] || out[2] != in[319 * 3 + 2]) {
    std::fprintf(stderr, "mirror: unexpected output\n");
    return 1;
  }
  if (!WritePpm(dir / "input.ppm", picture) || !WritePpm(dir / "mirrored.ppm", mirrored)) {
    std::fprintf(stderr, "mirror: cannot write into %s\n", dir.string().c_str());
    return 1;
  }
  std::printf("mirrored a %dx%d frame: %s, %s\n", mirrored.GetWidth(), mirrored.GetHeight(),
              (dir / "input.ppm").string().c_str(), (dir / "mirrored.ppm").string().c_str());
  return 0;
}
