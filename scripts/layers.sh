#!/usr/bin/env bash
# Who may include whom: every layer only what stands below it, every family of the engine only its
# own files, third parties only behind their seams. Prints the lines that break a rule.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

broken=0

# refuse RULE FILES PATTERN: no file below the folders may include what the pattern matches.
refuse() {
    local rule=$1 pattern=$3 hits
    local -a folders
    read -ra folders <<<"$2"
    hits=$(grep -rnE "^ *# *include +[<\"]($pattern)" "${folders[@]}" --include='*.h' --include='*.cpp' || true)
    [[ -z $hits ]] && return
    printf 'layers.sh: %s:\n%s\n' "$rule" "$hits" >&2
    broken=1
}

# Public headers include the standard library and each other, nothing else.
if grep -rnE '^ *# *include +(<[^>]*[./]|")' include | grep -vE 'include +["<]Veltrix/'; then
    echo "layers.sh: a public header includes something foreign" >&2
    broken=1
fi

upper='tools/|examples/|bench/|tests/'
cluster='bigdata/|Veltrix/BigData'
refuse "support stands below everything" support "data/|evaluator/|engine/|exports/|Veltrix/|$upper"
refuse "the data library knows no engine" "data include/Veltrix/Data" \
    "evaluator/|engine/|exports/|Veltrix/(Engine|Evaluator|Exports)|$cluster|$upper"
refuse "scoring functions know data only" "evaluator include/Veltrix/Evaluator" \
    "engine/|exports/|Veltrix/(Engine|Exports)|$cluster|$upper"
refuse "the cluster client knows data only" "bigdata include/Veltrix/BigData" \
    "evaluator/|engine/|exports/|Veltrix/(Evaluator|Engine|Exports)|$upper"
refuse "the engine knows no host" "engine include/Veltrix/Engine" \
    "exports/|Veltrix/Exports|$cluster|$upper"
refuse "exports know no host" exports "$upper"
refuse "the tool is not for tests" "tools examples bench" "tests/"
refuse "third parties stay behind their seams" "data evaluator engine exports bigdata include" \
    "nlohmann/|cblas|lapacke|mkl|sleef|immintrin|fmt/|CLI/|csv\.h|xlsxwriter|zlib"
if grep -rlE '^ *# *include +<(cpprest|pplx)/' --include='*.h' --include='*.cpp' . --exclude-dir=build |
    grep -vx './bigdata/Http.cpp'; then
    echo "layers.sh: only bigdata/Http.cpp knows the HTTP library" >&2
    broken=1
fi

# Families: the folder in the engine, and what its public headers are called.
families=(supervised/{LinearModel,DA,KNN,NaiveBayes,DT,NeuralNetwork}
    unsupervised/{KMC,HC,PCA,CVA,AR} timeseries/{ARIMA,Smoothing} textmining/TM)
declare -A headers=([LinearModel]='LinearModel/' [DA]='DA\.h' [KNN]='KNN\.h'
    [NaiveBayes]='NaiveBayes\.h' [DT]='DT(\.h|/)' [NeuralNetwork]='NeuralNetwork(\.h|/)'
    [KMC]='KMC\.h' [HC]='HC\.h' [PCA]='PCA\.h' [CVA]='CVA\.h' [AR]='AR\.h' [TM]='TM/'
    [ARIMA]='TS/ARIMA/' [Smoothing]='TS/Smoothing(\.h|/)')
for family in "${families[@]}"; do
    others='' name=${family##*/}
    for other in "${families[@]}"; do
        [[ $other == "$family" ]] && continue
        others+="${others:+|}engine/$other/|Veltrix/Engine/${headers[${other##*/}]}"
    done
    refuse "the family $name includes another" "engine/$family" "$others"
    refuse "the core of the engine knows no family" engine/core \
        "engine/$family/|Veltrix/Engine/${headers[$name]}"
done
for folder in engine/{supervised,unsupervised,timeseries,textmining}/*/; do
    [[ -d $folder ]] || continue
    folder=${folder#engine/} folder=${folder%/}
    [[ " ${families[*]} " == *" $folder "* ]] && continue
    echo "layers.sh: the family $folder is in no rule" >&2
    broken=1
done
exit "$broken"
