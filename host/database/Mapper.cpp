#include "host/database/IMapper.h"

namespace Kyr::Common::Database {

IMapper::~IMapper() = default;
IKeyValueAccessMapper::~IKeyValueAccessMapper() = default;
IOvRemediationActionsMapper::~IOvRemediationActionsMapper() = default;

}  // namespace Kyr::Common::Database
