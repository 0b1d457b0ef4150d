"""The methods of the clients for asyncio.

They are those of `procedures`: a method returns what the client's `_run` returns, which is to be
awaited there. The types differ and are in async_procedures.pyi, which the build writes.
"""

from .procedures import AlphaProcedures as AlphaProcedures
from .procedures import LambdaProcedures as LambdaProcedures
from .procedures import NueProcedures as NueProcedures
from .procedures import OmegaProcedures as OmegaProcedures
from .procedures import SigmaProcedures as SigmaProcedures
from .procedures import ThetaProcedures as ThetaProcedures
