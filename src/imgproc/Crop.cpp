#include "imgproc/Crop.h"

static zun::Registration<Crop<zun::Vec3b>, Crop<zun::Vec3f>> const registration{"Crop<Vec3b>", "Crop<Vec3f>"};
