#include "olma/provider/async_api_provider.h"

namespace Olma {
namespace Core {

AsyncApiProvider::~AsyncApiProvider() = default;

}  // namespace Core
}  // namespace Olma
